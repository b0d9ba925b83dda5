#pragma once
// A wait that does not poll: it checks its condition once at the start and then only when a
// watched signal fires. It ends when the condition holds, when a guarded object is destroyed, at
// its time-out, or when it is cancelled, whichever comes first.
//
// A wait runs in one of two ways. Start() returns at once and reports the end to a callback from
// the application's own event loop: the server's waits run so, and nothing in the application
// runs any differently while they wait. Run() spins a nested event loop until the end, for the
// in-process calls that must answer before they return. The server never waits in a nested
// loop: under Qt's glib event dispatcher a StackView transition sometimes stood still for as long
// as such a loop ran (frames and animation ticks went on), and finished only after it returned.

#include <QEventLoop>
#include <QMetaMethod>
#include <QObject>
#include <QTimer>

#include <functional>

class WaitLoop : public QObject {
    Q_OBJECT
public:
    enum class Outcome { Met, TimedOut, Destroyed, Cancelled };

    explicit WaitLoop(std::function<bool()> condition);

    // Checks the condition again whenever `signal` of `sender` fires (its arguments are ignored);
    // watching a signal twice is watching it once.
    bool Watch(QObject *sender, const QMetaMethod &signal);
    template <typename Signal>
    void Watch(const typename QtPrivate::FunctionPointer<Signal>::Object *sender, Signal signal)
    {
        connect(sender, signal, this, &WaitLoop::Check, Qt::UniqueConnection);
    }
    // Runs `prepare` before each check (after the first one).
    void BeforeEachCheck(std::function<void()> prepare) { m_prepare = std::move(prepare); }
    // Ends the wait with Destroyed as soon as `object` is destroyed.
    void Guard(QObject *object);

    // True when the condition holds now (then nothing waits).
    bool MetNow() { return m_condition(); }
    // Runs the wait in a nested event loop; a time-out below 1 ms checks the condition once.
    Outcome Run(int timeoutMs);
    // Starts the wait and returns at once; `ended` is called once, when the wait ends, never from
    // within Start. The caller checks MetNow() first.
    void Start(int timeoutMs, std::function<void(Outcome)> ended);
    // Ends a started wait with Cancelled.
    void Cancel() { Finish(Outcome::Cancelled); }

public slots:
    void Check();

private:
    void Finish(Outcome outcome);

    std::function<bool()> m_condition;
    std::function<void(Outcome)> m_ended;
    std::function<void()> m_prepare;
    QEventLoop *m_loop = nullptr;
    QTimer m_timer;
    bool m_running = false;
    Outcome m_outcome = Outcome::TimedOut;
};
