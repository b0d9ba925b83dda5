// Waits that do not poll: "waitprop" waits for a property to hold a value, woken only by the
// change signals of the property and of the objects on the way to it; "waitidle" waits until
// nothing in a window (or below an item) moves any more and a frame has been rendered since (see
// WaitIdle.cpp). Both give up at their time-out and end at once, false, when the object they wait
// on is destroyed. For a client of the server they hold the queue while the application's own
// event loop goes on (ControlEngine::Await).

#include "ControlEngine.h"

#include "TraceLog.h"
#include "WaitLoop.h"

#include <QJSValue>
#include <QJsonValue>
#include <QMetaProperty>
#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlProperty>

#include <memory>

namespace {

QVariant Plain(QVariant value)
{
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    return value;
}

// A property value against the value a client sent (a JSON value): numbers by value, anything
// else as JSON would hold it, or else by its text (colours, urls, enumerations by number).
bool Matches(const QVariant &actual, const QVariant &expected)
{
    const QJsonValue a = QJsonValue::fromVariant(actual), e = QJsonValue::fromVariant(expected);
    if (a.isDouble() && e.isDouble())
        return a.toDouble() == e.toDouble();
    if (!a.isNull() && !a.isUndefined() && a == e)
        return true;
    if (expected.userType() == QMetaType::QString)
        return actual.canConvert<QString>() && actual.toString() == expected.toString();
    if (expected.userType() == QMetaType::Bool && actual.userType() == QMetaType::Bool)
        return actual.toBool() == expected.toBool();
    return false;
}

// A plain, attached ("ToolTip.visible") or dotted ("popup.opened", "contentItem.height")
// property, as getpro reads it, and every property on the way to it: each link's change signal
// may change what the name reaches.
struct PropertyChain {
    QQmlProperty target;
    QList<QQmlProperty> links; // the target last
};

PropertyChain Resolve(QObject *object, const QString &name, QQmlContext *fallback)
{
    PropertyChain chain;
    QQmlContext *context = qmlContext(object) ? qmlContext(object) : fallback;
    const QQmlProperty whole(object, name, context);
    const int dot = name.indexOf(QLatin1Char('.'));
    if (whole.isValid() || dot < 0) {
        chain.target = whole;
        chain.links.append(whole);
        return chain;
    }
    const QQmlProperty head(object, name.left(dot), context);
    QObject *next = head.isValid() ? qvariant_cast<QObject *>(head.read()) : nullptr;
    if (next)
        chain = Resolve(next, name.mid(dot + 1), fallback);
    if (head.isValid())
        chain.links.prepend(head);
    return chain;
}

struct PropWait {
    QPointer<QObject> object;
    QString name;
    QVariant expected;
    QVariant current;
    QQmlContext *context = nullptr;
    PropertyChain chain;
};

} // namespace

// "waitprop": "objname", "property", "value", "timeout" ms (5000). The reply's value is the
// property's value once it matches.
bool ControlEngine::DoWaitProp(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitProp");
    auto state = std::make_shared<PropWait>();
    state->object = FindWaitTarget(args);
    if (!state->object)
        return false;
    state->name = args.value(QStringLiteral("property")).toString();
    state->context = m_context;
    state->chain = Resolve(state->object, state->name, m_context);
    const QString &name = state->name;
    if (name.isEmpty() || !state->chain.target.isValid()) {
        SetFailureReason(QStringLiteral("the object has no property \"%1\"").arg(name));
        return false;
    }
    if (!args.contains(QStringLiteral("value"))) {
        SetFailureReason(QStringLiteral("waitprop needs the \"value\" to wait for"));
        return false;
    }
    state->expected = args.value(QStringLiteral("value"));
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt();
    auto *wait = new WaitLoop([state] {
        if (!state->object)
            return false;
        state->current = Plain(state->chain.target.read());
        return Matches(state->current, state->expected);
    });
    // Every link is watched; after a change along the way (another popup, another content item)
    // the name is resolved again and the new links are watched too.
    const auto watchLinks = [state, wait] {
        for (const QQmlProperty &link : state->chain.links) {
            if (link.object() && link.property().hasNotifySignal())
                wait->Watch(link.object(), link.property().notifySignal());
        }
    };
    watchLinks();
    if (state->chain.links.size() > 1) {
        wait->BeforeEachCheck([state, watchLinks] {
            if (!state->object)
                return;
            state->chain = Resolve(state->object, state->name, state->context);
            watchLinks();
        });
    }
    const QQmlProperty &target = state->chain.target;
    if (!Matches(Plain(target.read()), state->expected) && !target.hasNotifySignal()) {
        delete wait;
        SetFailureReason(QStringLiteral("the property \"%1\" has no change signal to wait on").arg(name));
        return false;
    }
    wait->Guard(state->object);
    return Await(wait, timeout, [this, state, timeout](int ending, QVariant &reply) {
        if (ending == 0) {
            reply = state->current;
            return true;
        }
        if (ending == 2) {
            SetFailureReason(QStringLiteral("the object was destroyed while waiting for \"%1\"").arg(state->name));
            return false;
        }
        SetFailureReason(QStringLiteral("\"%1\" was %2, not %3, after %4 ms")
                             .arg(state->name, QJsonValue::fromVariant(state->current).toVariant().toString(),
                                  QJsonValue::fromVariant(state->expected).toVariant().toString())
                             .arg(timeout));
        return false;
    }, value);
}
