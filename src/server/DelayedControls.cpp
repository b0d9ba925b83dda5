// Running a message that came from a client: its delay parked on MyTimer, the check that its
// client is still here, the control (Action), the reply and the next message.

#include "UIRemoteControl.h"

#include "ControlEngine.h"
#include "TraceLog.h"

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
        RC_FIXED_ERROR("%s, control type is empty", "UIRemoteControl::DoControl");
        m_engine->SetFailureReason(QStringLiteral("the message names no control"));
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
        // A wait does not block here: the queue stays held (no next control is picked) until it
        // ends or its client leaves (ReleaseClient), while the application's event loop goes on.
        const void *outer = m_engine->m_client; // a delayed control may run inside another's wait
        m_engine->m_client = socket.data();
        m_engine->AllowWaitInBackground(true);
        const bool result = Action(info, value);
        m_engine->AllowWaitInBackground(false);
        m_engine->m_client = outer;
        if (m_engine->WaitPending()) {
            m_engine->WhenWaitEnds(socket.data(), [this, socket](bool ended, const QVariant &reply) {
                if (socket && m_clients.contains(socket.data()))
                    ResponseToClient(socket.data(), ended, reply);
                PickNextControl();
            });
            return;
        }
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

