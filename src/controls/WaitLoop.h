#pragma once
// A wait that does not poll: a nested event loop that checks its condition once at the start and
// then only when a watched signal fires. It ends when the condition holds, when a guarded object
// is destroyed, or at its time-out, whichever comes first.

#include <QEventLoop>
#include <QMetaMethod>
#include <QObject>
#include <QTimer>

#include <functional>

class WaitLoop : public QObject {
    Q_OBJECT
public:
    enum class Outcome { Met, TimedOut, Destroyed };

    explicit WaitLoop(std::function<bool()> condition);

    // Checks the condition again whenever `signal` of `sender` fires (its arguments are ignored).
    bool Watch(QObject *sender, const QMetaMethod &signal);
    template <typename Signal>
    void Watch(const typename QtPrivate::FunctionPointer<Signal>::Object *sender, Signal signal)
    {
        connect(sender, signal, this, &WaitLoop::Check);
    }
    // Ends the wait with Destroyed as soon as `object` is destroyed.
    void Guard(QObject *object);

    // Runs the wait; a time-out below 1 ms checks the condition once.
    Outcome Run(int timeoutMs);

public slots:
    void Check();

private:
    void Finish(Outcome outcome);

    std::function<bool()> m_condition;
    QEventLoop m_loop;
    QTimer m_timer;
    bool m_running = false;
    Outcome m_outcome = Outcome::TimedOut;
};
