// Dispatch: a parsed message to its control handler, with delays parked on MyTimer.

#include "UIRemoteControl.h"

#include "Limits.h"
#include "TraceLog.h"

#include <QJSValue>
#include <QTcpSocket>
#include <QTimerEvent>

int MyTimer::Start(int msec, std::function<void()> callable)
{
    const int id = startTimer(msec, Qt::CoarseTimer);
    if (id != 0)
        m_callables.insert(id, std::move(callable));
    return id;
}

void MyTimer::timerEvent(QTimerEvent *event)
{
    const auto it = m_callables.find(event->timerId());
    if (it == m_callables.end())
        return;
    killTimer(event->timerId());
    const std::function<void()> callable = it.value();
    callable(); // an empty callable throws std::bad_function_call: a programming error
    m_callables.remove(event->timerId());
}

void UIRemoteControl::DoControl(const ParsedMessageInfo &info, QPointer<QTcpSocket> socket)
{
    if (info.controlType.isEmpty()) {
        RC_ERROR("%s, control type is empty", "UIRemoteControl::DoControl");
        SetFailureReason(QStringLiteral("the message names no control"));
        ResponseToClient(socket.data(), false, QVariant());
        PickNextControl();
        return;
    }
    if (!socket || !m_clients.contains(socket.data())) {
        PickNextControl();
        return;
    }
    if (info.delay < 1 || !m_timer) {
        QVariant value;
        const bool result = Action(info, value);
        // The control may have run a nested event loop; its client may be gone by now.
        if (socket && m_clients.contains(socket.data()))
            ResponseToClient(socket.data(), result, value);
        PickNextControl();
        return;
    }
    ParsedMessageInfo now = info;
    now.delay = 0;
    m_timer->Start(info.delay, [this, now, socket]() { DoControl(now, socket); });
}

bool UIRemoteControl::controlObject(const QVariant &request, QVariant &retValue)
{
    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);
    ExtractExtensionWord(request, info);
    return Action(info, retValue);
}

bool UIRemoteControl::Action(const ParsedMessageInfo &info, QVariant &value)
{
    const QString &type = info.controlType;
    const ArgumentMap &args = info.args;
    bool result = false;
    m_failureReason.clear();
    if (type == QLatin1String("invoke"))
        result = DoInvokeMethod(args);
    else if (type == QLatin1String("invokeret"))
        result = DoInvokeRetMethod(args, value);
    else if (type == QLatin1String("getpro"))
        result = DoGetProperty(args, value);
    else if (type == QLatin1String("setpro"))
        result = DoSetProperty(args);
    else if (type == QLatin1String("click"))
        result = DoClick(args, false);
    else if (type == QLatin1String("dbclick"))
        result = DoClick(args, true);
    else if (type == QLatin1String("hover"))
        result = DoHover(args);
    else if (type == QLatin1String("waitsignal"))
        result = DoWaitSignal(args);
    else if (type == QLatin1String("getmdlitemval"))
        result = DoGetModelValue(args, value);
    else if (type == QLatin1String("getgrpmdlitemval"))
        result = DoGetGroupModelValue(args, value);
    else if (type == QLatin1String("getfltmdlitemval"))
        result = DoGetFilterModelValue(args, value);
    else if (type == QLatin1String("drag"))
        result = DoDrag(args);
    else if (type == QLatin1String("drop"))
        result = DoDrop(args);
    else if (type == QLatin1String("press"))
        result = DoPress(args);
    else if (type == QLatin1String("keyclick"))
        result = DoKeyClick(args);
    else if (type == QLatin1String("getwinname"))
        result = DoGetWindowName(args, value);
    else if (type == QLatin1String("emitpluginsignal"))
        EmitPluginSignal(args), result = true;
    else if (type == QLatin1String("movejoystick"))
        MoveJoystick(args), result = true;
    else if (type == QLatin1String("joystickbuttonevent"))
        DoJoystickButtonEvent(args), result = true;
    else if (type == QLatin1String("addjoystick"))
        DoAddJoystick(args), result = true;
    else if (const ExtensionHandler handler = m_extensions ? FindExtension(type) : nullptr)
        result = (this->*handler)(args, value);
    else {
        RC_ERROR("%s, control type not support", "UIRemoteControl::Action");
        value = QVariant();
        return false;
    }
    // A value too deep to convert fails the control instead of overflowing the stack.
    if (value.isValid() && !CheckNesting(value, "UIRemoteControl::Action")) {
        value = QVariant();
        return false;
    }
    // Script values (returned by QML functions) become plain variants so the reply can hold them.
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    return result;
}

bool UIRemoteControl::CheckNesting(const QVariant &value, const char *function) const
{
    if (Limits::WithinNesting(value))
        return true;
    RC_ERROR("%s, value nested deeper than %d levels", function, Limits::kMaxNesting);
    SetFailureReason(QStringLiteral("the value is nested deeper than %1 levels").arg(Limits::kMaxNesting));
    return false;
}
