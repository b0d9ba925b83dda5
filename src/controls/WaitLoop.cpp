// A wait without polling: see WaitLoop.h.

#include "WaitLoop.h"

WaitLoop::WaitLoop(std::function<bool()> condition) : m_condition(std::move(condition))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { Finish(Outcome::TimedOut); });
}

bool WaitLoop::Watch(QObject *sender, const QMetaMethod &signal)
{
    static const int check = staticMetaObject.indexOfSlot("Check()");
    // A slot without parameters fits every signal.
    return sender && signal.methodType() == QMetaMethod::Signal &&
           connect(sender, signal, this, staticMetaObject.method(check));
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
    m_running = true;
    m_outcome = Outcome::TimedOut;
    m_timer.start(timeoutMs);
    m_loop.exec();
    m_timer.stop();
    m_running = false;
    return m_outcome;
}

void WaitLoop::Check()
{
    if (m_running && m_condition())
        Finish(Outcome::Met);
}

void WaitLoop::Finish(Outcome outcome)
{
    if (!m_running)
        return;
    m_running = false;
    m_outcome = outcome;
    m_loop.quit();
}
