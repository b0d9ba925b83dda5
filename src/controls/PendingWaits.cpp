// How a wait runs (ControlEngine::Await): answered at once when it is already met; for a control
// of the server, without a nested event loop: the handler returns, the application's event loop
// goes on as if nothing waited, and the server answers when the wait ends (its queue stays held
// meanwhile); for an in-process call, in a nested event loop.

#include "ControlEngine.h"

#include "WaitLoop.h"

#include <memory>

struct ControlEngine::PendingWait {
    std::unique_ptr<WaitLoop> wait;
    Conclusion conclude;
    const QObject *client = nullptr;
    std::function<void(bool, const QVariant &)> done;
};

namespace {

int Ending(WaitLoop::Outcome outcome)
{
    switch (outcome) {
    case WaitLoop::Outcome::Met:
        return 0;
    case WaitLoop::Outcome::TimedOut:
        return 1;
    case WaitLoop::Outcome::Destroyed:
        return 2;
    case WaitLoop::Outcome::Cancelled:
        break;
    }
    return 3;
}

} // namespace

bool ControlEngine::Await(WaitLoop *raw, int timeoutMs, Conclusion conclude, QVariant &value)
{
    std::unique_ptr<WaitLoop> wait(raw);
    if (wait->MetNow())
        return conclude(0, value);
    if (!m_waitInBackground || timeoutMs < 1)
        return conclude(Ending(wait->Run(timeoutMs)), value);
    auto pending = std::make_shared<PendingWait>();
    pending->wait = std::move(wait);
    pending->conclude = std::move(conclude);
    m_pendingWait = pending;
    const std::weak_ptr<PendingWait> weak = pending;
    pending->wait->Start(timeoutMs, [this, weak](WaitLoop::Outcome outcome) {
        const std::shared_ptr<PendingWait> ended = weak.lock();
        if (!ended)
            return;
        if (m_pendingWait == ended)
            m_pendingWait.reset();
        // The wait is inside the call that reports its end: it goes once that call has returned.
        ended->wait.release()->deleteLater();
        if (outcome == WaitLoop::Outcome::Cancelled || !ended->done)
            return;
        ClearFailureReason();
        QVariant reply;
        bool result = ended->conclude(Ending(outcome), reply);
        if (reply.isValid() && !CheckNesting(reply, "UIRemoteControl::Action")) {
            reply = QVariant();
            result = false;
        }
        ended->done(result, reply);
    });
    value = QVariant();
    return true;
}

bool ControlEngine::WaitPending() const
{
    return m_pendingWait != nullptr;
}

void ControlEngine::WhenWaitEnds(const QObject *client, std::function<void(bool, const QVariant &)> done)
{
    if (!m_pendingWait)
        return;
    m_pendingWait->client = client;
    m_pendingWait->done = std::move(done);
}

bool ControlEngine::CancelWaitOf(const QObject *client)
{
    if (!m_pendingWait || m_pendingWait->client != client)
        return false;
    const std::shared_ptr<PendingWait> pending = m_pendingWait;
    pending->done = nullptr;
    pending->wait->Cancel();
    return true;
}
