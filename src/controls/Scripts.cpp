// "evaluate": runs a script in the scene's QML engine as the body of a function, called with the
// message's arguments as `arguments` and, with "objname" or "handle", that object as `this`.
// Arguments written {"handle": n} or {"objname": "path"} arrive as the objects themselves; the
// return value comes back as getpro's values do, objects as {"type", "path", "handle"}; a throw
// answers false with what was thrown as the reason.
//
// The script runs on the GUI thread, so nothing else happens meanwhile; past "timeout" ms a
// watchdog thread interrupts it (QJSEngine::setInterrupted may be called from any thread). A
// script stuck in a C++ call it made (not in JavaScript) is interrupted only when that returns.

#include "ControlEngine.h"

#include "TraceLog.h"

#include <QJSEngine>
#include <QJSValue>
#include <QQmlContext>
#include <QQmlEngine>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

// Interrupts the engine's JavaScript once `ms` have passed, unless stopped first.
class Watchdog {
public:
    Watchdog(QJSEngine *engine, int ms) : m_engine(engine)
    {
        if (ms > 0)
            m_thread = std::thread([this, ms] {
                std::unique_lock<std::mutex> lock(m_mutex);
                if (!m_stopped.wait_for(lock, std::chrono::milliseconds(ms), [this] { return m_done; })) {
                    m_fired = true;
                    m_engine->setInterrupted(true);
                }
            });
    }
    ~Watchdog() { Stop(); }
    // Stops the watchdog and lets the engine run JavaScript again; true when it interrupted.
    bool Stop()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_stopped.notify_all();
        if (m_thread.joinable())
            m_thread.join();
        if (m_fired)
            m_engine->setInterrupted(false);
        return m_fired;
    }

private:
    QJSEngine *m_engine;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_done = false;
    bool m_fired = false;
};

// A scene object for the script. Its ownership is set to what it is already, explicitly: wrapping
// an object without a parent would otherwise hand it to the JavaScript collector.
QJSValue Wrap(QJSEngine *engine, QObject *object)
{
    QQmlEngine::setObjectOwnership(object, QQmlEngine::objectOwnership(object));
    return engine->newQObject(object);
}

// Calls f with `this` and the arguments, catching what it throws: [true, result] or [false, thrown].
const char kCaller[] = "(function (f, self, args) {\n"
                       "    try { return [true, f.apply(self, args)]; } catch (thrown) { return [false, thrown]; }\n"
                       "})";

} // namespace

// "evaluate": "script", "args" (a list), "objname"/"handle" (this), "timeout" ms (5000; 0: none).
bool ControlEngine::DoEvaluate(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoEvaluate");
    const QVariant scriptValue = args.value(QStringLiteral("script"));
    if (scriptValue.userType() != QMetaType::QString) {
        SetFailureReason(QStringLiteral("evaluate needs a \"script\" string"));
        return false;
    }
    const QVariant argValues = args.value(QStringLiteral("args"), QVariantList());
    if (argValues.userType() != QMetaType::QVariantList) {
        SetFailureReason(QStringLiteral("\"args\" of evaluate is a list"));
        return false;
    }
    if (!CheckNesting(argValues, "UIRemoteControl::DoEvaluate"))
        return false;
    QJSEngine *engine = m_root ? qmlEngine(m_root) : nullptr;
    if (!engine && m_context)
        engine = m_context->engine();
    if (!engine) {
        SetFailureReason(QStringLiteral("the scene has no QML engine to run scripts in"));
        return false;
    }
    QJSValue self;
    if (NamesObject(args) || args.contains(QStringLiteral("parobjname"))) {
        QObject *object = FindNamedQMLObject(args);
        if (!object)
            return false;
        self = Wrap(engine, object);
    }
    // Objects named in the arguments, at any depth of lists and maps.
    bool found = true;
    std::function<QJSValue(const QVariant &)> toScript = [&](const QVariant &argument) -> QJSValue {
        if (argument.userType() == QMetaType::QVariantList) {
            const QVariantList list = argument.toList();
            QJSValue array = engine->newArray(uint(list.size()));
            for (int i = 0; i < list.size(); ++i)
                array.setProperty(quint32(i), toScript(list.at(i)));
            return array;
        }
        if (argument.userType() != QMetaType::QVariantMap)
            return engine->toScriptValue(argument);
        const QVariantMap map = argument.toMap();
        const bool byHandle = map.size() == 1 && map.contains(QStringLiteral("handle"));
        const bool byPath = map.contains(QStringLiteral("objname")) &&
                            (map.size() == 1 || (map.size() == 2 && map.contains(QStringLiteral("parobjname"))));
        if (byHandle || byPath) {
            QObject *object = byHandle ? ObjectOfHandle(map.value(QStringLiteral("handle"))) : FindNamedQMLObject(map);
            found = found && object;
            return object ? Wrap(engine, object) : QJSValue();
        }
        QJSValue object = engine->newObject();
        for (auto it = map.constBegin(); it != map.constEnd(); ++it)
            object.setProperty(it.key(), toScript(it.value()));
        return object;
    };
    const QJSValue arguments = toScript(argValues);
    if (!found)
        return false;
    const QString script = scriptValue.toString();
    const QJSValue function = engine->evaluate(QStringLiteral("(function () {\n%1\n})").arg(script),
                                               QStringLiteral("evaluate"));
    if (function.isError() || !function.isCallable()) {
        const QString reason = function.isError() ? function.toString() : QStringLiteral("the script is no function body");
        RC_ERROR("%s, %s", "UIRemoteControl::DoEvaluate", reason.toLocal8Bit().constData());
        SetFailureReason(reason);
        return false;
    }
    QJSValue caller = engine->evaluate(QString::fromLatin1(kCaller));
    bool ok = false;
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt(&ok);
    Watchdog watchdog(engine, ok ? timeout : 5000);
    const QJSValue outcome = caller.call({function, self, arguments});
    if (watchdog.Stop()) {
        RC_ERROR("%s, script interrupted after %d ms", "UIRemoteControl::DoEvaluate", timeout);
        SetFailureReason(QStringLiteral("the script ran longer than %1 ms and was interrupted").arg(timeout));
        return false;
    }
    if (outcome.isError() || !outcome.property(0).toBool()) {
        const QString reason = outcome.isError() ? outcome.toString() : outcome.property(1).toString();
        RC_ERROR("%s, %s", "UIRemoteControl::DoEvaluate", reason.toLocal8Bit().constData());
        SetFailureReason(reason);
        return false;
    }
    const QJSValue result = outcome.property(1);
    if (!CheckNesting(QVariant::fromValue(result), "UIRemoteControl::DoEvaluate"))
        return false;
    value = result.isUndefined() || result.isNull() || result.isCallable() ? QVariant::fromValue(nullptr)
                                                                           : ReplyValue(result.toVariant(), true);
    return true;
}
