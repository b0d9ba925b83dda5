// Object handles as words: "handle" answers the handle of the object a message names, "resolve"
// tells what a handle names now. In extension mode every word that names an object also takes
// "handle" instead of "objname" (UIRemoteControl::FindNamedQMLObject asks ObjectOfHandle).

#include "ControlEngine.h"

#include "ObjectPaths.h"
#include "Selector.h"
#include "TraceLog.h"

#include <cmath>

namespace {

// A handle as the message gives it: a whole positive number (JSON numbers arrive as doubles).
bool HandleNumber(const QVariant &value, qint64 *handle)
{
    bool ok = false;
    const double number = value.toDouble(&ok);
    if (!ok || value.userType() == QMetaType::QString || value.userType() == QMetaType::Bool ||
        number != std::floor(number) || number < 1 || number > 2147483647.0)
        return false;
    *handle = qint64(number);
    return true;
}

} // namespace

QObject *ControlEngine::ObjectOfHandle(const QVariant &handle) const
{
    qint64 number = 0;
    QString reason;
    QObject *object = nullptr;
    if (!HandleNumber(handle, &number))
        reason = QStringLiteral("a handle is a whole number from 1, not %1").arg(handle.toString());
    else
        object = m_handles.ObjectOf(number, &reason);
    if (!object) {
        RC_ERROR("%s, %s", "UIRemoteControl::FindNamedQMLObject", reason.toLocal8Bit().constData());
        SetFailureReason(reason);
    }
    return object;
}

// "handle": "objname", "parobjname" (or "handle"); the reply's value is the object's handle.
bool ControlEngine::DoHandle(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoHandle");
    QObject *object = FindNamedQMLObject(args);
    if (!object)
        return false;
    QString reason;
    const int handle = m_handles.HandleOf(object, &reason);
    if (!handle) {
        RC_ERROR("%s, %s", "UIRemoteControl::DoHandle", reason.toLocal8Bit().constData());
        SetFailureReason(reason);
        return false;
    }
    value = handle;
    return true;
}

// "resolve": "handle"; the reply's value is {"path", "type", "alive": true}. The path is the one
// "tree" gives (null when no search reaches the object).
bool ControlEngine::DoResolve(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoResolve");
    if (!args.contains(QStringLiteral("handle"))) {
        SetFailureReason(QStringLiteral("resolve needs a \"handle\""));
        return false;
    }
    QObject *object = ObjectOfHandle(args.value(QStringLiteral("handle")));
    if (!object)
        return false;
    const QString path = m_root ? ObjectPaths::All(m_root).value(object) : QString();
    value = QVariantMap{{QStringLiteral("path"), path.isEmpty() ? QVariant::fromValue(nullptr) : QVariant(path)},
                        {QStringLiteral("type"), Selector::TypeName(object)},
                        {QStringLiteral("alive"), true}};
    return true;
}
