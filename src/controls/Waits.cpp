// Waits that do not poll: "waitprop" waits for a property to hold a value, woken only by the
// property's notify signal; "waitidle" waits until nothing in a window moves any more (no
// animation, transition, flick or stack-view change runs) and a frame has been rendered since,
// woken by the running-state signals of those objects and by the window's frames. A window that
// runs an animation without end never settles. Both hold the
// queue while they wait, give up at their time-out and end at once, false, when the object they
// wait on is destroyed.

#include "ControlEngine.h"

#include "SceneTree.h"
#include "TraceLog.h"
#include "WaitLoop.h"

#include <QJSValue>
#include <QJsonValue>
#include <QMetaProperty>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTimer>

#include <algorithm>

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

// The objects of a window whose running state tells whether something still moves, and the
// signal that announces each change of it.
struct Mover {
    QPointer<QObject> object;
    const char *property;
};

// How long a window must render no frame to count as settled.
const int kQuietMs = 100;

QList<Mover> Movers(QQuickWindow *window)
{
    QList<Mover> movers;
    QSet<QObject *> seen;
    const auto visit = [&movers, &seen](QObject *object, int) {
        if (seen.contains(object))
            return false;
        seen.insert(object);
        if (object->inherits("QQuickAbstractAnimation") || object->inherits("QQuickTransition"))
            movers.append({object, "running"});
        else if (object->inherits("QQuickFlickable") || object->inherits("QQuickPathView"))
            movers.append({object, "moving"});
        else if (object->inherits("QQuickStackView"))
            movers.append({object, "busy"});
        return true;
    };
    SceneTree::Walk(window, visit);
    SceneTree::Walk(window->contentItem(), visit);
    return movers;
}

bool Moving(const Mover &mover)
{
    if (!mover.object)
        return false;
    const bool on = mover.object->property(mover.property).toBool();
    return on && !(mover.object->inherits("QQuickAbstractAnimation") && mover.object->property("paused").toBool());
}

} // namespace

// "waitprop": "objname", "property", "value", "timeout" ms (5000). The reply's value is the
// property's value once it matches.
bool ControlEngine::DoWaitProp(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitProp");
    const QPointer<QObject> object = FindWaitTarget(args);
    if (!object)
        return false;
    const QString name = args.value(QStringLiteral("property")).toString();
    const QMetaObject *meta = object->metaObject();
    const QMetaProperty property = meta->property(meta->indexOfProperty(name.toLatin1().constData()));
    if (name.isEmpty() || !property.isValid()) {
        SetFailureReason(QStringLiteral("the object has no property \"%1\"").arg(name));
        return false;
    }
    if (!args.contains(QStringLiteral("value"))) {
        SetFailureReason(QStringLiteral("waitprop needs the \"value\" to wait for"));
        return false;
    }
    const QVariant expected = args.value(QStringLiteral("value"));
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt();
    QVariant current;
    WaitLoop wait([&object, &property, &expected, &current] {
        if (!object)
            return false;
        current = Plain(property.read(object));
        return Matches(current, expected);
    });
    if (object && !Matches(Plain(property.read(object)), expected) && !property.hasNotifySignal()) {
        SetFailureReason(QStringLiteral("the property \"%1\" has no change signal to wait on").arg(name));
        return false;
    }
    wait.Watch(object, property.notifySignal());
    wait.Guard(object);
    switch (wait.Run(timeout)) {
    case WaitLoop::Outcome::Met:
        value = current;
        return true;
    case WaitLoop::Outcome::Destroyed:
        SetFailureReason(QStringLiteral("the object was destroyed while waiting for \"%1\"").arg(name));
        return false;
    case WaitLoop::Outcome::TimedOut:
        break;
    }
    SetFailureReason(QStringLiteral("\"%1\" was %2, not %3, after %4 ms")
                         .arg(name, QJsonValue::fromVariant(current).toVariant().toString(),
                              QJsonValue::fromVariant(expected).toVariant().toString())
                         .arg(timeout));
    return false;
}

// "waitidle": "winobjname" (else the default window), "timeout" ms (5000).
bool ControlEngine::DoWaitIdle(const ArgumentMap &args, QVariant &)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitIdle");
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QWindow *found = winName.isEmpty() ? m_window.data() : WindowNamed(winName);
    const QPointer<QQuickWindow> window = qobject_cast<QQuickWindow *>(found);
    if (!window) {
        SetFailureReason(winName.isEmpty() ? QStringLiteral("there is no default window")
                                           : QStringLiteral("no window is named \"%1\"").arg(winName));
        return false;
    }
    if (!window->isExposed()) {
        SetFailureReason(QStringLiteral("the window %1 is not exposed: it renders no frames").arg(window->objectName()));
        return false;
    }
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt();
    const QList<Mover> movers = Movers(window);
    const auto moving = [&movers] { return std::any_of(movers.begin(), movers.end(), Moving); };

    // Settled: nothing moves, a frame has been rendered since the last movement ended, and no
    // frame has followed it for a quiet period. The quiet period catches the animations that
    // announce themselves nowhere (a view gliding to its current item, a Behavior): while they
    // run, the window renders frame after frame. At the start the wait asks for one frame.
    bool framed = false;
    bool quiet = false;
    int frames = 0;
    QTimer quietTimer;
    quietTimer.setSingleShot(true);
    quietTimer.setInterval(kQuietMs);
    bool frameAsked = false;
    WaitLoop wait([&] {
        if (moving()) {
            framed = false;
            return false;
        }
        if (!framed && !frameAsked && window) { // the movement ended after the last frame
            frameAsked = true;
            window->update();
        }
        return framed && quiet;
    });
    QObject::connect(window, &QQuickWindow::frameSwapped, &wait, [&] {
        framed = !moving();
        quiet = false;
        frameAsked = false;
        ++frames;
        quietTimer.start();
    });
    QObject::connect(&quietTimer, &QTimer::timeout, &wait, [&] {
        quiet = true;
        wait.Check();
    });
    for (const Mover &mover : movers) {
        const QMetaObject *meta = mover.object->metaObject();
        wait.Watch(mover.object, meta->property(meta->indexOfProperty(mover.property)).notifySignal());
    }
    wait.Guard(window);
    switch (wait.Run(timeout)) {
    case WaitLoop::Outcome::Met:
        return true;
    case WaitLoop::Outcome::Destroyed:
        SetFailureReason(QStringLiteral("the window was destroyed while waiting for it to settle"));
        return false;
    case WaitLoop::Outcome::TimedOut:
        break;
    }
    QStringList still;
    for (const Mover &mover : movers) {
        if (Moving(mover))
            still.append(mover.object->objectName().isEmpty() ? SceneTree::QmlId(mover.object) : mover.object->objectName());
    }
    if (!still.isEmpty())
        SetFailureReason(QStringLiteral("still moving after %1 ms: %2").arg(timeout).arg(still.join(QStringLiteral(", "))));
    else if (frames == 0)
        SetFailureReason(QStringLiteral("no frame was rendered within %1 ms").arg(timeout));
    else
        SetFailureReason(QStringLiteral("the window kept rendering frames for %1 ms: an animation runs").arg(timeout));
    return false;
}
