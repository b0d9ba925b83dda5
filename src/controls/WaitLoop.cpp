// A wait without polling: see WaitLoop.h.

#include "WaitLoop.h"

WaitLoop::WaitLoop(std::function<bool()> condition) : m_condition(std::move(condition))
{
    m_timer.setSingleShot(true);
    // A precise timer: a coarse one may fire up to 5 % late.
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { Finish(Outcome::TimedOut); });
}

bool WaitLoop::Watch(QObject *sender, const QMetaMethod &signal)
{
    static const int check = staticMetaObject.indexOfSlot("Check()");
    // A slot without parameters fits every signal.
    return sender && signal.methodType() == QMetaMethod::Signal &&
           connect(sender, signal, this, staticMetaObject.method(check), Qt::UniqueConnection);
}

void WaitLoop::Guard(QObject *object)
{
    if (object)
        connect(object, &QObject::destroyed, this, [this] { Finish(Outcome::Destroyed); });
}

WaitLoop::Outcome WaitLoop::Run(int timeoutMs)
{
    if (m_condition())
        return Outcome::Met;
    if (timeoutMs < 1)
        return Outcome::TimedOut;
    QEventLoop loop;
    m_loop = &loop;
    m_running = true;
    m_outcome = Outcome::TimedOut;
    m_timer.start(timeoutMs);
    loop.exec();
    m_timer.stop();
    m_running = false;
    m_loop = nullptr;
    return m_outcome;
}

void WaitLoop::Start(int timeoutMs, std::function<void(Outcome)> ended)
{
    m_ended = std::move(ended);
    m_running = true;
    m_outcome = Outcome::TimedOut;
    // A time-out below 1 ms ends the wait at the next turn of the event loop.
    m_timer.start(qMax(0, timeoutMs));
}

void WaitLoop::Check()
{
    if (!m_running)
        return;
    if (m_prepare)
        m_prepare();
    if (m_condition())
        Finish(Outcome::Met);
}

void WaitLoop::Finish(Outcome outcome)
{
    if (!m_running)
        return;
    m_running = false;
    m_outcome = outcome;
    m_timer.stop();
    if (m_loop) {
        m_loop->quit();
        return;
    }
    // The callback may delete this wait: nothing of it is touched afterwards.
    if (m_ended) {
        const std::function<void(Outcome)> ended = std::move(m_ended);
        m_ended = nullptr;
        ended(outcome);
    }
}
