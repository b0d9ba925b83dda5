// The signal wait "waitsignal": QML and context-property signal sources, time limits, signature
// forms, log lines, and what other TCP clients see while one client waits.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QPointer>
#include <QQmlContext>
#include <QQmlProperty>
#include <QQuickWindow>
#include <QTimer>
#include <QtTest>

#include <sys/socket.h>

#include <functional>
#include <memory>

// A host object that QML reaches only as a context property.
class Backend : public QObject {
    Q_OBJECT
signals:
    void ping();
    void valueChanged(int value);
};

namespace {

const QString kTransLine = QStringLiteral("UIRemoteControl::DoWaitSignal, transSignalName = [%1]");

QVariantMap Args(const QString &objname, const QString &signal, const QVariant &timeout = QVariant())
{
    QVariantMap args{{QStringLiteral("objname"), objname}, {QStringLiteral("signal"), signal}};
    if (timeout.isValid())
        args.insert(QStringLiteral("timeout"), timeout);
    return args;
}

bool Wait(UIRemoteControl &control, const QVariantMap &args)
{
    QVariant value;
    const bool result = control.controlObject(QVariantMap{{QStringLiteral("waitsignal"), args}}, value);
    if (value.isValid())
        QTest::qFail("the control gave a value; it must give none", __FILE__, __LINE__);
    return result;
}

// The trace lines written by the handler itself, in order.
QStringList WaitSignalLines()
{
    QStringList lines;
    for (const QString &text : TestSupport::LogTexts()) {
        if (text.startsWith(QLatin1String("UIRemoteControl::DoWaitSignal, ")))
            lines.append(text);
    }
    return lines;
}

int SeverityOf(const QString &text)
{
    for (const LogRecorder::Line &line : LogRecorder::Lines()) {
        if (QString::fromStdString(line.text) == text)
            return line.severity;
    }
    return -1;
}

// The server side of a client's connection: the testing server's sockets are children of the
// control object.
QTcpSocket *ServerSide(QObject *control, const TestSupport::ReplyClient &client)
{
    for (QTcpSocket *socket : control->findChildren<QTcpSocket *>()) {
        if (socket->peerPort() == client.socket.localPort())
            return socket;
    }
    return nullptr;
}

// Runs step() every few milliseconds, also inside the nested event loop of a running wait, so a
// test can act at points it can not reach from its own code while a control is running.
class Driver {
public:
    explicit Driver(std::function<void()> step)
    {
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, std::move(step));
        m_timer.start();
    }

private:
    QTimer m_timer;
};

} // namespace

class TestInputWaitSignal : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void signalFromQmlTimerWithinTimeoutGivesTrue();
    void timeoutWithoutEmissionGivesFalse();
    void absentTimeoutWaitsZeroMilliseconds_data();
    void absentTimeoutWaitsZeroMilliseconds();
    void absentTimeoutMissesEmissionShortlyAfter_data();
    void absentTimeoutMissesEmissionShortlyAfter();
    void negativeTimeoutDoesNotWaitForever();
    void absentTimeoutCatchesEmissionAlreadyPending();
    void emissionBeforeWaitIsNotSeen();
    void signalWithoutParenthesesIsInvalid_data();
    void signalWithoutParenthesesIsInvalid();
    void signatureWithExtraSpacesIsAccepted();
    void contextPropertyIsFoundByObjectNameAlone();
    void contextPropertyNeedsContext();
    void contextPropertyThatIsNoObjectGivesFalse();
    void missingObjectGivesFalse();
    void signalEmittedTwiceGivesTrue();
    void waitEndsAtFirstEmission();
    void waitTracesTransformedSignalName();
    void waitRepliesOverTcp();
    void otherClientsAreQueuedDuringWaitAndAnsweredInOrder();
    void clientDisconnectingDuringWaitGetsNoReplyAndNextMessageRuns();

private:
    QObject *Child(const char *name) const { return m_scene->root->findChild<QObject *>(QLatin1String(name)); }
    void Start(const char *timer) { QVERIFY(QMetaObject::invokeMethod(Child(timer), "start")); }

    std::unique_ptr<TestSupport::Scene> m_scene;
    QObject *m_emitter = nullptr;
};

void TestInputWaitSignal::init()
{
    m_scene.reset(new TestSupport::Scene(QStringLiteral("input_waitsignal.qml")));
    QVERIFY2(m_scene->window, "input_waitsignal.qml did not load");
    m_emitter = Child("emitter");
    QVERIFY(m_emitter);
    LogRecorder::Clear();
}

void TestInputWaitSignal::cleanup()
{
    m_scene.reset();
    m_emitter = nullptr;
}

// ---------------------------------------------------------------------------------------------

void TestInputWaitSignal::signalFromQmlTimerWithinTimeoutGivesTrue()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("pulse");
    QElapsedTimer clock;
    clock.start();
    QVERIFY(Wait(control, Args(QStringLiteral("pulse"), QStringLiteral("triggered()"), 10000)));
    QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!QQmlProperty::read(Child("pulse"), QStringLiteral("running")).toBool());
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
}

void TestInputWaitSignal::timeoutWithoutEmissionGivesFalse()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!Wait(control, Args(QStringLiteral("slowPulse"), QStringLiteral("triggered()"), 200)));
    // The wait lasts the given time (the timer behind it may be up to 5 % early).
    QVERIFY2(clock.elapsed() >= 180, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
}

void TestInputWaitSignal::absentTimeoutWaitsZeroMilliseconds_data()
{
    QTest::addColumn<QVariant>("timeout");

    QTest::newRow("absent") << QVariant();
    QTest::newRow("zero") << QVariant(0);
    QTest::newRow("not a number") << QVariant(QStringLiteral("soon"));
}

// A timer due in two seconds is still running when the wait gives up: the wait was not the
// QSignalSpy default of five seconds, nor any other real wait.
void TestInputWaitSignal::absentTimeoutWaitsZeroMilliseconds()
{
    QFETCH(QVariant, timeout);

    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("slowPulse");
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!Wait(control, Args(QStringLiteral("slowPulse"), QStringLiteral("triggered()"), timeout)));
    QVERIFY2(clock.elapsed() < 1500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(QQmlProperty::read(Child("slowPulse"), QStringLiteral("running")).toBool());
    QVERIFY(QMetaObject::invokeMethod(Child("slowPulse"), "stop"));
}

void TestInputWaitSignal::absentTimeoutMissesEmissionShortlyAfter_data()
{
    absentTimeoutWaitsZeroMilliseconds_data();
}

// A 30 ms timer is started by a queued call, which runs only once the wait's own event loop
// runs: its emission comes 30 ms after the wait began, so any real wait sees it (a default of a
// second as much as one of five), and a zero-length wait is over before it. Starting the timer
// from inside the wait keeps a stalled test machine from making the emission overdue before
// the wait begins.
void TestInputWaitSignal::absentTimeoutMissesEmissionShortlyAfter()
{
    QFETCH(QVariant, timeout);

    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    QObject *pulse = Child("pulse");
    QSignalSpy fired(pulse, SIGNAL(triggered()));
    QVERIFY(fired.isValid());
    QVERIFY(QMetaObject::invokeMethod(pulse, "start", Qt::QueuedConnection));
    QVERIFY(!Wait(control, Args(QStringLiteral("pulse"), QStringLiteral("triggered()"), timeout)));
    QCOMPARE(fired.count(), 0);
    // The emission does come, once the wait is over.
    QVERIFY(fired.wait(5000));
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
}

// A negative limit must not turn into a wait without end, which would hold up every client of
// the server. The two-second timer only bounds this test if the wait does not end by itself.
void TestInputWaitSignal::negativeTimeoutDoesNotWaitForever()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("slowPulse");
    QElapsedTimer clock;
    clock.start();
    const bool result = Wait(control, Args(QStringLiteral("slowPulse"), QStringLiteral("triggered()"), -1));
    const qint64 elapsed = clock.elapsed();
    QVERIFY(QMetaObject::invokeMethod(Child("slowPulse"), "stop"));
    QVERIFY2(elapsed < 1500, qPrintable(QString::number(elapsed)));
    QVERIFY(!result);
}

void TestInputWaitSignal::absentTimeoutCatchesEmissionAlreadyPending()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    // Queued before the wait starts: the zero-length wait still processes it.
    QVERIFY(QMetaObject::invokeMethod(m_emitter, "fire", Qt::QueuedConnection));
    QVERIFY(Wait(control, Args(QStringLiteral("emitter"), QStringLiteral("clicked()"))));
    QVariant journal;
    QVERIFY(QMetaObject::invokeMethod(m_emitter, "journalText", Q_RETURN_ARG(QVariant, journal)));
    QCOMPARE(journal.toString(), QStringLiteral("signal"));
}

void TestInputWaitSignal::emissionBeforeWaitIsNotSeen()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    QVERIFY(QMetaObject::invokeMethod(m_emitter, "fire"));
    QVERIFY(!Wait(control, Args(QStringLiteral("emitter"), QStringLiteral("clicked()"), 100)));
}

void TestInputWaitSignal::signalWithoutParenthesesIsInvalid_data()
{
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("error");

    QTest::newRow("no parentheses") << QStringLiteral("clicked") << QStringLiteral("QSignalSpy: No such signal: 'clicked'")
                                    << QStringLiteral("UIRemoteControl::DoWaitSignal, the signal is not valid 2clicked");
    QTest::newRow("wrong parameters") << QStringLiteral("clicked(int)")
                                      << QStringLiteral("QSignalSpy: No such signal: 'clicked(int)'")
                                      << QStringLiteral("UIRemoteControl::DoWaitSignal, the signal is not valid 2clicked(int)");
    QTest::newRow("unknown signal") << QStringLiteral("released()") << QStringLiteral("QSignalSpy: No such signal: 'released()'")
                                    << QStringLiteral("UIRemoteControl::DoWaitSignal, the signal is not valid 2released()");
    QTest::newRow("no parameter list on a signal with parameters")
        << QStringLiteral("valueChanged") << QStringLiteral("QSignalSpy: No such signal: 'valueChanged'")
        << QStringLiteral("UIRemoteControl::DoWaitSignal, the signal is not valid 2valueChanged");
}

void TestInputWaitSignal::signalWithoutParenthesesIsInvalid()
{
    QFETCH(QString, signal);
    QFETCH(QString, warning);
    QFETCH(QString, error);

    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    QTest::ignoreMessage(QtWarningMsg, qPrintable(warning));
    // The emission is queued: an invalid spy must not wait for it or see it.
    QVERIFY(QMetaObject::invokeMethod(m_emitter, "fire", Qt::QueuedConnection));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!Wait(control, Args(QStringLiteral("emitter"), signal, 5000)));
    QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(TestSupport::ErrorLines(), QStringList{error});
    QCOMPARE(SeverityOf(error), 2);
    QCOMPARE(WaitSignalLines(), (QStringList{QStringLiteral("UIRemoteControl::DoWaitSignal, Enter"),
                                             kTransLine.arg(QStringLiteral("2") + signal), error,
                                             QStringLiteral("UIRemoteControl::DoWaitSignal, Leave")}));
}

void TestInputWaitSignal::signatureWithExtraSpacesIsAccepted()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("valueTimer");
    QVERIFY(Wait(control, Args(QStringLiteral("emitter"), QStringLiteral("valueChanged( int )"), 10000)));
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
    // Passed on as the client wrote it; the spy normalises it.
    QVERIFY(TestSupport::LogTexts(5).contains(kTransLine.arg(QStringLiteral("2valueChanged( int )"))));

    Start("valueTimer");
    QVERIFY(Wait(control, Args(QStringLiteral("emitter"), QStringLiteral(" valueChanged (int)"), 10000)));
}

void TestInputWaitSignal::contextPropertyIsFoundByObjectNameAlone()
{
    Backend backend;
    QQmlContext *context = m_scene->engine.rootContext();
    context->setContextProperty(QStringLiteral("backend"), &backend);
    UIRemoteControl control(m_scene->root, context, nullptr);

    QTimer::singleShot(30, &backend, [&backend] { emit backend.ping(); });
    QVERIFY(Wait(control, Args(QStringLiteral("backend"), QStringLiteral("ping()"), 10000)));
    // The tree search comes first and fails; its line is the only error.
    QCOMPARE(TestSupport::ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject backend")});

    // "parobjname" plays no part in the context look-up.
    LogRecorder::Clear();
    QVariantMap args = Args(QStringLiteral("backend"), QStringLiteral("valueChanged(int)"), 10000);
    args.insert(QStringLiteral("parobjname"), QStringLiteral("nowhere"));
    QTimer::singleShot(30, &backend, [&backend] { emit backend.valueChanged(3); });
    QVERIFY(Wait(control, args));
    QCOMPARE(TestSupport::ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject nowhere.backend")});
}

void TestInputWaitSignal::contextPropertyNeedsContext()
{
    Backend backend;
    m_scene->engine.rootContext()->setContextProperty(QStringLiteral("backend"), &backend);
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    // Emitted right away when the wait starts, were the object found.
    QMetaObject::invokeMethod(&backend, "ping", Qt::QueuedConnection);
    QVERIFY(!Wait(control, Args(QStringLiteral("backend"), QStringLiteral("ping()"), 100)));
    QCOMPARE(TestSupport::ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject backend")});
}

void TestInputWaitSignal::contextPropertyThatIsNoObjectGivesFalse()
{
    QQmlContext *context = m_scene->engine.rootContext();
    context->setContextProperty(QStringLiteral("answer"), 42);
    UIRemoteControl control(m_scene->root, context, nullptr);
    QVERIFY(!Wait(control, Args(QStringLiteral("answer"), QStringLiteral("destroyed()"), 100)));
    QCOMPARE(WaitSignalLines(), (QStringList{QStringLiteral("UIRemoteControl::DoWaitSignal, Enter"),
                                             QStringLiteral("UIRemoteControl::DoWaitSignal, Leave")}));
}

void TestInputWaitSignal::missingObjectGivesFalse()
{
    UIRemoteControl control(m_scene->root, m_scene->engine.rootContext(), nullptr);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!Wait(control, Args(QStringLiteral("ghost"), QStringLiteral("clicked()"), 5000)));
    QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(TestSupport::ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject ghost")});
    // No spy was made: no signal name is traced.
    QCOMPARE(WaitSignalLines(), (QStringList{QStringLiteral("UIRemoteControl::DoWaitSignal, Enter"),
                                             QStringLiteral("UIRemoteControl::DoWaitSignal, Leave")}));
}

void TestInputWaitSignal::signalEmittedTwiceGivesTrue()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("twiceTimer");
    QVERIFY(Wait(control, Args(QStringLiteral("emitter"), QStringLiteral("pinged(int)"), 10000)));
    QCOMPARE(QQmlProperty::read(m_emitter, QStringLiteral("pings")).toInt(), 2);
}

void TestInputWaitSignal::waitEndsAtFirstEmission()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("firstPing");
    Start("secondPing"); // three seconds later
    QElapsedTimer clock;
    clock.start();
    QVERIFY(Wait(control, Args(QStringLiteral("emitter"), QStringLiteral("pinged(int)"), 20000)));
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(QQmlProperty::read(m_emitter, QStringLiteral("pings")).toInt(), 1);
    QVERIFY(QMetaObject::invokeMethod(Child("secondPing"), "stop"));
}

void TestInputWaitSignal::waitTracesTransformedSignalName()
{
    UIRemoteControl control(m_scene->root, nullptr, nullptr);
    Start("pulse");
    QVERIFY(Wait(control, Args(QStringLiteral("pulse"), QStringLiteral("triggered()"), 10000)));
    const QStringList expected{QStringLiteral("UIRemoteControl::DoWaitSignal, Enter"),
                               kTransLine.arg(QStringLiteral("2triggered()")),
                               QStringLiteral("UIRemoteControl::DoWaitSignal, Leave")};
    QCOMPARE(WaitSignalLines(), expected);
    for (const QString &line : expected)
        QCOMPARE(SeverityOf(line), 5);
    QCOMPARE(LogRecorder::Lines().back().text, std::string("UIRemoteControl::DoWaitSignal, Leave"));
    QCOMPARE(LogRecorder::Lines().back().line, 0);
}

void TestInputWaitSignal::waitRepliesOverTcp()
{
    const quint16 port = TestSupport::FreePort();
    UIRemoteControl control(m_scene->root, nullptr, port, nullptr);
    QVERIFY(control.IsListening());
    TestSupport::ReplyClient client;
    client.ConnectTo(port);
    QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);

    Start("pulse");
    client.Send(R"J({"waitsignal": {"objname": "pulse", "signal": "triggered()", "timeout": 10000}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 1, 15000);
    QCOMPARE(client.replies.at(0), (QJsonObject{{QStringLiteral("result"), true}}));

    client.Send(R"J({"waitsignal": {"objname": "slowPulse", "signal": "triggered()", "timeout": 50}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 2, 15000);
    QCOMPARE(client.replies.at(1), (QJsonObject{{QStringLiteral("result"), false}}));

    QTest::ignoreMessage(QtWarningMsg, "QSignalSpy: No such signal: 'clicked'");
    client.Send(R"J({"waitsignal": {"objname": "emitter", "signal": "clicked", "timeout": 50}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 3, 15000);
    QCOMPARE(client.replies.at(2), (QJsonObject{{QStringLiteral("result"), false}}));
    QCOMPARE(TestSupport::ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::DoWaitSignal, the signal is not valid 2clicked")});
    QCOMPARE(client.malformed, 0);
}

// Client A waits for a signal. While it waits, B and then C send a control each; the signal
// comes only after the server has read both. B and C must run after A's wait, in the order they
// arrived: the emitter's journal shows the order in which things really happened.
void TestInputWaitSignal::otherClientsAreQueuedDuringWaitAndAnsweredInOrder()
{
    const quint16 port = TestSupport::FreePort();
    UIRemoteControl control(m_scene->root, nullptr, port, nullptr);
    QVERIFY(control.IsListening());
    TestSupport::ReplyClient a, b, c;
    for (TestSupport::ReplyClient *client : {&a, &b, &c})
        client->ConnectTo(port);
    QTRY_VERIFY_WITH_TIMEOUT(a.IsConnected() && b.IsConnected() && c.IsConnected(), 5000);
    QTRY_VERIFY_WITH_TIMEOUT(ServerSide(&control, a) && ServerSide(&control, b) && ServerSide(&control, c), 5000);

    // Connected after the server's own handler: counts reads the server has already queued.
    int readsOfB = 0, readsOfC = 0;
    connect(ServerSide(&control, b), &QTcpSocket::readyRead, this, [&readsOfB] { ++readsOfB; });
    connect(ServerSide(&control, c), &QTcpSocket::readyRead, this, [&readsOfC] { ++readsOfC; });

    const QString waiting = kTransLine.arg(QStringLiteral("2clicked()"));
    int stage = 0;
    int repliesOfBAtSignal = -1, repliesOfCAtSignal = -1;
    Driver driver([&] {
        if (stage == 0 && TestSupport::LogTexts(5).contains(waiting)) {
            b.Send(R"J({"invokeret": {"objname": "emitter", "method": "note", "mthargs": ["B"]}})J");
            stage = 1;
        } else if (stage == 1 && readsOfB > 0) {
            c.Send(R"J({"invokeret": {"objname": "emitter", "method": "note", "mthargs": ["C"]}})J");
            stage = 2;
        } else if (stage == 2 && readsOfC > 0) {
            repliesOfBAtSignal = b.replies.size();
            repliesOfCAtSignal = c.replies.size();
            QMetaObject::invokeMethod(m_emitter, "fire");
            stage = 3;
        }
    });
    a.Send(R"J({"waitsignal": {"objname": "emitter", "signal": "clicked()", "timeout": 10000}})J");

    QTRY_COMPARE_WITH_TIMEOUT(c.replies.size(), 1, 15000);
    QCOMPARE(stage, 3);
    QCOMPARE(repliesOfBAtSignal, 0);
    QCOMPARE(repliesOfCAtSignal, 0);
    QCOMPARE(a.replies, (QList<QJsonObject>{QJsonObject{{QStringLiteral("result"), true}}}));
    QTRY_COMPARE_WITH_TIMEOUT(b.replies.size(), 1, 5000);
    // note() answers with the journal's length after writing.
    QCOMPARE(b.replies.at(0), (QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), 2}}));
    QCOMPARE(c.replies.at(0), (QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), 3}}));
    QVariant journal;
    QVERIFY(QMetaObject::invokeMethod(m_emitter, "journalText", Q_RETURN_ARG(QVariant, journal)));
    QCOMPARE(journal.toString(), QStringLiteral("signal,B,C"));
}

// Client A waits and goes away (it shuts its sending side, so it could still read a reply). The
// wait runs on, the application stays up, A gets nothing, and B's queued control runs next.
void TestInputWaitSignal::clientDisconnectingDuringWaitGetsNoReplyAndNextMessageRuns()
{
    const quint16 port = TestSupport::FreePort();
    UIRemoteControl control(m_scene->root, nullptr, port, nullptr);
    QVERIFY(control.IsListening());
    TestSupport::ReplyClient a, b;
    a.ConnectTo(port);
    b.ConnectTo(port);
    QTRY_VERIFY_WITH_TIMEOUT(a.IsConnected() && b.IsConnected(), 5000);
    QTRY_VERIFY_WITH_TIMEOUT(ServerSide(&control, a) && ServerSide(&control, b), 5000);

    QPointer<QTcpSocket> serverOfA = ServerSide(&control, a);
    int readsOfB = 0;
    connect(ServerSide(&control, b), &QTcpSocket::readyRead, this, [&readsOfB] { ++readsOfB; });

    const QString waiting = kTransLine.arg(QStringLiteral("2clicked()"));
    int stage = 0;
    Driver driver([&] {
        if (stage == 0 && TestSupport::LogTexts(5).contains(waiting)) {
            ::shutdown(int(a.socket.socketDescriptor()), SHUT_WR);
            stage = 1;
        } else if (stage == 1 && (!serverOfA || serverOfA->state() == QAbstractSocket::UnconnectedState)) {
            b.Send(R"J({"invokeret": {"objname": "emitter", "method": "note", "mthargs": ["B"]}})J");
            stage = 2;
        } else if (stage == 2 && readsOfB > 0) {
            QMetaObject::invokeMethod(m_emitter, "fire");
            stage = 3;
        }
    });
    a.Send(R"J({"waitsignal": {"objname": "emitter", "signal": "clicked()", "timeout": 10000}})J");

    QTRY_COMPARE_WITH_TIMEOUT(b.replies.size(), 1, 15000);
    QCOMPARE(stage, 3);
    QCOMPARE(b.replies.at(0), (QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), 2}}));
    // The server closed A's connection; everything it sent before has arrived by now.
    QTRY_COMPARE_WITH_TIMEOUT(a.socket.state(), QAbstractSocket::UnconnectedState, 5000);
    QCOMPARE(a.replies, QList<QJsonObject>());
    QCOMPARE(a.buffer, QByteArray());

    // And the server serves on.
    b.Send(R"J({"getpro": {"objname": "emitter", "property": "objectName"}})J");
    QTRY_COMPARE_WITH_TIMEOUT(b.replies.size(), 2, 5000);
    QCOMPARE(b.replies.at(1),
             (QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), QStringLiteral("emitter")}}));
    QVariant journal;
    QVERIFY(QMetaObject::invokeMethod(m_emitter, "journalText", Q_RETURN_ARG(QVariant, journal)));
    QCOMPARE(journal.toString(), QStringLiteral("signal,B"));
}

QTEST_MAIN(TestInputWaitSignal)
#include "tst_input_waitsignal.moc"
