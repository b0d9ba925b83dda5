// Signal spies: "spy" arms a spy on an object's signal and answers its id, "spycount" answers how
// often it fired and with which arguments, "waitspy" waits until it has fired a number of times.
// A spy armed before an action cannot miss the signal the action causes. Spies live as long as
// this remote control; a spy whose object is destroyed keeps what it saw.

#include "ControlEngine.h"

#include "TraceLog.h"
#include "WaitLoop.h"

#include <QMetaMethod>
#include <QPointer>
#include <QQmlContext>
#include <QSignalSpy>

#include <map>
#include <memory>

struct ControlEngine::SpyTable {
    struct Spy {
        QPointer<QObject> object;
        QMetaMethod signal;
        std::unique_ptr<QSignalSpy> spy;
    };
    std::map<int, Spy> spies;
    int lastId = 0;

    Spy *Find(const QVariant &id)
    {
        const auto it = spies.find(id.toInt());
        return it == spies.end() ? nullptr : &it->second;
    }
};

namespace {

const int kMaxSpies = 1000;        // armed at once per remote control
const int kMaxReportedEmissions = 1000; // emissions whose arguments "spycount" lists

// The signal named by a signature ("clicked()", "moved(int, int)") or, when unambiguous, by its
// bare name ("clicked").
QMetaMethod FindSignal(const QObject *object, const QString &text)
{
    const QMetaObject *meta = object->metaObject();
    const QByteArray wanted = text.toLatin1();
    if (wanted.contains('(')) {
        const int index = meta->indexOfSignal(QMetaObject::normalizedSignature(wanted.constData()).constData());
        return index < 0 ? QMetaMethod() : meta->method(index);
    }
    QMetaMethod found;
    for (int i = 0; i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() == QMetaMethod::Signal && method.name() == wanted) {
            if (found.isValid())
                return QMetaMethod(); // overloaded: the signature must say which
            found = method;
        }
    }
    return found;
}

} // namespace

QObject *ControlEngine::FindWaitTarget(const ArgumentMap &args) const
{
    QObject *object = FindNamedQMLObject(args);
    const QString name = args.value(QStringLiteral("objname")).toString();
    if (!object && m_context && !name.isEmpty())
        object = qvariant_cast<QObject *>(m_context->contextProperty(name));
    if (!object)
        SetFailureReason(QStringLiteral("no object is found by \"%1\"").arg(name));
    return object;
}

// "spy": "objname", "signal"; the reply's value is the spy's id.
bool ControlEngine::DoSpy(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoSpy");
    QObject *object = FindWaitTarget(args);
    if (!object)
        return false;
    const QString signalText = args.value(QStringLiteral("signal")).toString();
    const QMetaMethod signal = FindSignal(object, signalText);
    if (!signal.isValid()) {
        SetFailureReason(QStringLiteral("the object has no signal \"%1\"").arg(signalText));
        return false;
    }
    if (!m_spies)
        m_spies = std::make_shared<SpyTable>();
    if (int(m_spies->spies.size()) >= kMaxSpies) {
        SetFailureReason(QStringLiteral("%1 spies are armed already").arg(kMaxSpies));
        return false;
    }
    const QByteArray signature = '2' + signal.methodSignature(); // as the SIGNAL() macro writes it
    auto spy = std::make_unique<QSignalSpy>(object, signature.constData());
    if (!spy->isValid()) {
        SetFailureReason(QStringLiteral("the signal \"%1\" cannot be spied on").arg(signalText));
        return false;
    }
    const int id = ++m_spies->lastId;
    m_spies->spies[id] = SpyTable::Spy{object, signal, std::move(spy)};
    value = id;
    return true;
}

// "spycount": "id"; the value is {"count": n, "args": [[arguments of each emission], ...]}.
bool ControlEngine::DoSpyCount(const ArgumentMap &args, QVariant &value)
{
    SpyTable::Spy *spy = m_spies ? m_spies->Find(args.value(QStringLiteral("id"))) : nullptr;
    if (!spy) {
        SetFailureReason(QStringLiteral("no spy has the id %1").arg(args.value(QStringLiteral("id")).toString()));
        return false;
    }
    QVariantList emissions;
    for (int i = 0; i < spy->spy->count() && i < kMaxReportedEmissions; ++i) {
        QVariantList arguments;
        for (const QVariant &argument : spy->spy->at(i))
            arguments.append(ReplyValue(argument));
        emissions.append(QVariant(arguments));
    }
    value = QVariantMap{{QStringLiteral("count"), spy->spy->count()}, {QStringLiteral("args"), emissions}};
    return true;
}

// "waitspy": "id", "count" (1), "timeout" ms (5000); true once the spy has seen that many
// emissions in all, counting those before the wait. The value is the count.
bool ControlEngine::DoWaitSpy(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitSpy");
    SpyTable::Spy *spy = m_spies ? m_spies->Find(args.value(QStringLiteral("id"))) : nullptr;
    if (!spy) {
        SetFailureReason(QStringLiteral("no spy has the id %1").arg(args.value(QStringLiteral("id")).toString()));
        return false;
    }
    const int wanted = args.value(QStringLiteral("count"), 1).toInt();
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt();
    QSignalSpy *signalSpy = spy->spy.get();
    const QPointer<QObject> object = spy->object;
    if (!object && signalSpy->count() < wanted) {
        SetFailureReason(QStringLiteral("the spied object was destroyed after %1 of %2 emissions").arg(signalSpy->count()).arg(wanted));
        return false;
    }
    // The spy lives as long as this remote control, and so longer than the wait.
    auto *wait = new WaitLoop([signalSpy, wanted] { return signalSpy->count() >= wanted; });
    if (object) {
        wait->Watch(object, spy->signal);
        wait->Guard(object);
    }
    return Await(wait, timeout, [this, signalSpy, wanted, timeout](int ending, QVariant &reply) {
        if (ending == 0) {
            reply = signalSpy->count();
            return true;
        }
        if (ending == 2)
            SetFailureReason(QStringLiteral("the spied object was destroyed after %1 of %2 emissions").arg(signalSpy->count()).arg(wanted));
        else
            SetFailureReason(QStringLiteral("the spy saw %1 of %2 emissions within %3 ms").arg(signalSpy->count()).arg(wanted).arg(timeout));
        return false;
    }, value);
}
