// Signal spies: "spy" arms a spy on an object's signal and answers its id, "spycount" answers how
// often it fired and with which arguments, "waitspy" waits until it has fired a number of times.
// A spy armed before an action cannot miss the signal the action causes. A spy lives until
// "unspy", or until the connection that armed it closes (spies armed through controlObject live
// as long as the remote control); a spy whose object is destroyed keeps what it saw.

#include "ControlEngine.h"

#include "QtCompat.h"
#include "Selector.h"
#include "TraceLog.h"
#include "WaitLoop.h"

#include <QMetaMethod>
#include <QPointer>
#include <QQmlContext>

#include <deque>
#include <map>
#include <memory>
#include <vector>

namespace {

const int kMaxSpies = 1000;      // armed at once per remote control
const int kKeptEmissions = 1000; // the newest emissions whose arguments a spy keeps

// One argument of one emission as the spy keeps it. An object is kept guarded with its type, so
// that reading it later never touches a destroyed object. The argument of an object's own
// destroyed() is being destroyed as it comes (no guard can be made then): it is kept as destroyed.
struct Argument {
    QVariant value;
    QPointer<QObject> object;
    QString type;
    bool isObject = false;
};

// Records each emission of one signal, as QSignalSpy does, but keeps only what stays safe to read.
class Recorder : public QObject {
public:
    Recorder(QObject *object, const QMetaMethod &signal) : m_sender(object)
    {
        m_senderType = Selector::TypeName(object);
        m_destroyedSignal = signal.methodSignature() == "destroyed(QObject*)";
        for (int i = 0; i < signal.parameterCount(); ++i)
            m_types.append(signal.parameterType(i));
        const int slot = QObject::staticMetaObject.methodCount(); // the one slot qt_metacall takes
        m_connected = QMetaObject::connect(object, signal.methodIndex(), this, slot, Qt::DirectConnection, nullptr);
    }
    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override
    {
        id = QObject::qt_metacall(call, id, arguments);
        if (id < 0 || call != QMetaObject::InvokeMetaMethod)
            return id;
        if (id == 0)
            Record(arguments);
        return id - 1;
    }

    bool m_connected = false;
    int count = 0;
    int dropped = 0;
    std::deque<std::vector<Argument>> emissions;

private:
    void Record(void **arguments)
    {
        ++count;
        std::vector<Argument> emission;
        for (int i = 0; i < m_types.size(); ++i) {
            Argument argument;
            const int type = m_types.at(i);
            if (QtCompat::TypeFlags(type) & QMetaType::PointerToQObject) {
                QObject *object = *reinterpret_cast<QObject **>(arguments[i + 1]);
                argument.isObject = object != nullptr;
                if (object == m_sender && m_destroyedSignal) {
                    argument.type = m_senderType;
                } else if (object) {
                    argument.type = Selector::TypeName(object);
                    argument.object = object;
                }
            } else if (type != QMetaType::UnknownType) {
                argument.value = QtCompat::MakeValue(type, arguments[i + 1]);
            }
            emission.push_back(std::move(argument));
        }
        emissions.push_back(std::move(emission));
        if (int(emissions.size()) > kKeptEmissions) {
            emissions.pop_front();
            ++dropped;
        }
    }

    const QObject *const m_sender; // compared only, never read
    QString m_senderType;
    bool m_destroyedSignal = false;
    QVector<int> m_types;
};

} // namespace

struct ControlEngine::SpyTable {
    struct Spy {
        QPointer<QObject> object;
        QMetaMethod signal;
        std::unique_ptr<Recorder> recorder;
        const void *owner = nullptr; // the connection that armed it; null: the remote control
    };
    std::map<int, std::shared_ptr<Spy>> spies;
    int lastId = 0;

    std::shared_ptr<Spy> Find(const QVariant &id)
    {
        const auto it = spies.find(id.toInt());
        return it == spies.end() ? nullptr : it->second;
    }
};

namespace {

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
    auto recorder = std::make_unique<Recorder>(object, signal);
    if (!recorder->m_connected) {
        SetFailureReason(QStringLiteral("the signal \"%1\" cannot be spied on").arg(signalText));
        return false;
    }
    const int id = ++m_spies->lastId;
    m_spies->spies[id] = std::make_shared<SpyTable::Spy>(SpyTable::Spy{object, signal, std::move(recorder), m_client});
    value = id;
    return true;
}

// "spycount": "id"; the value is {"count": n, "args": [[arguments of each emission], ...]}: the
// arguments of the newest emissions, with "dropped": n when older ones were let go.
bool ControlEngine::DoSpyCount(const ArgumentMap &args, QVariant &value)
{
    const std::shared_ptr<SpyTable::Spy> spy = m_spies ? m_spies->Find(args.value(QStringLiteral("id"))) : nullptr;
    if (!spy) {
        SetFailureReason(QStringLiteral("no spy has the id %1").arg(args.value(QStringLiteral("id")).toString()));
        return false;
    }
    const Recorder &recorder = *spy->recorder;
    QVariantList emissions;
    for (const std::vector<Argument> &emission : recorder.emissions) {
        QVariantList arguments;
        for (const Argument &argument : emission) {
            if (!argument.isObject)
                arguments.append(argument.value);
            else if (argument.object)
                arguments.append(QVariant::fromValue(argument.object.data()));
            else
                arguments.append(QVariantMap{{QStringLiteral("type"), argument.type}, {QStringLiteral("destroyed"), true}});
        }
        emissions.append(QVariant(arguments));
    }
    QVariantMap result{{QStringLiteral("count"), recorder.count}, {QStringLiteral("args"), ReplyValue(emissions)}};
    if (recorder.dropped > 0)
        result.insert(QStringLiteral("dropped"), recorder.dropped);
    value = result;
    return true;
}

// "unspy": "id"; disarms the spy.
bool ControlEngine::DoUnspy(const ArgumentMap &args, QVariant &)
{
    if (!m_spies || m_spies->spies.erase(args.value(QStringLiteral("id")).toInt()) == 0) {
        SetFailureReason(QStringLiteral("no spy has the id %1").arg(args.value(QStringLiteral("id")).toString()));
        return false;
    }
    return true;
}

// The spies a connection armed go when it disconnects (a wait on one keeps it until the wait ends).
void ControlEngine::ReleaseSpiesOf(const void *owner)
{
    if (!m_spies || !owner)
        return;
    for (auto it = m_spies->spies.begin(); it != m_spies->spies.end();) {
        if (it->second->owner == owner)
            it = m_spies->spies.erase(it);
        else
            ++it;
    }
}

// "waitspy": "id", "count" (1), "timeout" ms (5000); true once the spy has seen that many
// emissions in all, counting those before the wait. The value is the count.
bool ControlEngine::DoWaitSpy(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitSpy");
    const std::shared_ptr<SpyTable::Spy> spy = m_spies ? m_spies->Find(args.value(QStringLiteral("id"))) : nullptr;
    if (!spy) {
        SetFailureReason(QStringLiteral("no spy has the id %1").arg(args.value(QStringLiteral("id")).toString()));
        return false;
    }
    const int wanted = args.value(QStringLiteral("count"), 1).toInt();
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt();
    const Recorder *signalSpy = spy->recorder.get(); // kept alive by spy while the wait runs
    const QPointer<QObject> object = spy->object;
    if (!object && signalSpy->count < wanted) {
        SetFailureReason(QStringLiteral("the spied object was destroyed after %1 of %2 emissions").arg(signalSpy->count).arg(wanted));
        return false;
    }
    auto *wait = new WaitLoop([signalSpy, wanted] { return signalSpy->count >= wanted; });
    if (object) {
        wait->Watch(object, spy->signal);
        wait->Guard(object);
    }
    // The conclusion holds the spy, so that a spy disarmed or released meanwhile outlives the wait.
    return Await(wait, timeout, [this, spy, signalSpy, wanted, timeout](int ending, QVariant &reply) {
        if (ending == 0) {
            reply = signalSpy->count;
            return true;
        }
        if (ending == 2)
            SetFailureReason(QStringLiteral("the spied object was destroyed after %1 of %2 emissions").arg(signalSpy->count).arg(wanted));
        else
            SetFailureReason(QStringLiteral("the spy saw %1 of %2 emissions within %3 ms").arg(signalSpy->count).arg(wanted).arg(timeout));
        return false;
    }, value);
}
