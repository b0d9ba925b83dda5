// How soon a wait answers after the change it waits for: a remote control in extension mode on
// a small scene and a client over loopback, in one process and one event loop, so that the change
// and the reply's arrival are read from one clock. Per wait word, many trials: the client asks,
// and a timer makes the change 5 to 30 ms later (a property write for waitprop, a signal for
// waitspy, the end of an animation for waitidle limited to the animated item); the figure is the
// reply's arrival at the client minus the change. Target: within one frame (20 ms).
//
// Usage: wait_latency_bench [--trials N]

#include "UIRemoteControl.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

const char *kScene = R"(
import QtQuick 2.15
import QtQuick.Window 2.15
Window {
    objectName: "benchWindow"
    width: 200; height: 200; visible: true
    Item {
        objectName: "target"
        property int value: 0
        signal ping()
    }
    Rectangle {
        objectName: "mover"
        width: 20; height: 20
        NumberAnimation on x { objectName: "slide"; running: false; from: 0; to: 100; duration: 40 }
    }
}
)";

quint16 FreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

class Client {
public:
    explicit Client(quint16 port)
    {
        m_socket.connectToHost(QHostAddress::LocalHost, port);
        m_socket.waitForConnected(5000);
        QObject::connect(&m_socket, &QTcpSocket::readyRead, [this] {
            m_buffer += m_socket.readAll();
            const QJsonDocument reply = QJsonDocument::fromJson(m_buffer);
            if (reply.isObject()) {
                m_buffer.clear();
                m_arrived = m_clock.nsecsElapsed();
                m_reply = reply.object();
                m_done = true;
            }
        });
    }
    // Sends one control; `change` runs `delayMs` later. Returns the reply, runs the loop meanwhile.
    QJsonObject Ask(const QJsonObject &message, int delayMs = -1, const std::function<void()> &change = {})
    {
        m_done = false;
        m_socket.write(QJsonDocument(message).toJson(QJsonDocument::Compact));
        if (change)
            QTimer::singleShot(delayMs, [change] { change(); });
        QElapsedTimer limit;
        limit.start();
        while (!m_done && limit.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        return m_reply;
    }
    qint64 Now() const { return m_clock.nsecsElapsed(); }
    qint64 Arrived() const { return m_arrived; }
    void StartClock() { m_clock.start(); }

private:
    QTcpSocket m_socket;
    QByteArray m_buffer;
    QElapsedTimer m_clock;
    QJsonObject m_reply;
    qint64 m_arrived = 0;
    bool m_done = false;
};

void Report(const char *word, std::vector<double> ms, int failures)
{
    std::sort(ms.begin(), ms.end());
    const auto at = [&ms](double q) { return ms.empty() ? 0.0 : ms[std::min(ms.size() - 1, size_t(q * ms.size()))]; };
    const size_t within = size_t(std::count_if(ms.begin(), ms.end(), [](double v) { return v <= 20.0; }));
    std::printf("%-28s %6zu %8.2f %8.2f %8.2f %8.2f %9.1f%% %6d\n", word, ms.size(), at(0.5), at(0.9), at(0.99),
                ms.empty() ? 0.0 : ms.back(), ms.empty() ? 0.0 : 100.0 * within / ms.size(), failures);
}

// Notes the time a signal came (the animation's end).
class Recorder : public QObject {
    Q_OBJECT
public:
    explicit Recorder(std::function<qint64()> now) : m_now(std::move(now)) {}
    qint64 at = 0;
public slots:
    void Note() { at = m_now(); }

private:
    std::function<qint64()> m_now;
};

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QGuiApplication app(argc, argv);
    int trials = 200;
    const QStringList args = app.arguments();
    const int at = args.indexOf(QStringLiteral("--trials"));
    if (at > 0 && at + 1 < args.size())
        trials = args.at(at + 1).toInt();

    QQmlApplicationEngine engine;
    engine.loadData(kScene);
    QObject *root = engine.rootObjects().value(0);
    auto *window = qobject_cast<QQuickWindow *>(root);
    if (!window)
        return 1;
    UIRemoteControl remote(root, engine.rootContext(), FreePort(), window);
    remote.setExtensionsEnabled(true);
    Client client(remote.ServerPort());
    client.StartClock();
    QObject *target = root->findChild<QObject *>(QStringLiteral("target"));
    QObject *slide = root->findChild<QObject *>(QStringLiteral("slide"));
    QRandomGenerator random(22);
    const auto delay = [&random] { return 5 + int(random.bounded(26)); };

    std::printf("%-28s %6s %8s %8s %8s %8s %10s %6s\n", "wait (reply - change, ms)", "n", "p50", "p90", "p99", "max",
                "<=20 ms", "failed");
    std::vector<double> latencies;
    int failures = 0;
    for (int i = 1; i <= trials; ++i) {
        qint64 changed = 0;
        const QJsonObject reply = client.Ask(
            QJsonObject{{"waitprop", QJsonObject{{"objname", "target"}, {"property", "value"}, {"value", i}}}}, delay(), [&] {
                changed = client.Now();
                target->setProperty("value", i);
            });
        if (!reply.value(QStringLiteral("result")).toBool() || !changed)
            ++failures;
        else
            latencies.push_back((client.Arrived() - changed) / 1e6);
    }
    Report("waitprop", latencies, failures);

    latencies.clear();
    failures = 0;
    const int spy = client.Ask(QJsonObject{{"spy", QJsonObject{{"objname", "target"}, {"signal", "ping()"}}}}).value("value").toInt();
    for (int i = 1; i <= trials; ++i) {
        qint64 changed = 0;
        const QJsonObject reply = client.Ask(QJsonObject{{"waitspy", QJsonObject{{"id", spy}, {"count", i}}}}, delay(), [&] {
            changed = client.Now();
            QMetaObject::invokeMethod(target, "ping");
        });
        if (!reply.value(QStringLiteral("result")).toBool() || !changed)
            ++failures;
        else
            latencies.push_back((client.Arrived() - changed) / 1e6);
    }
    Report("waitspy", latencies, failures);

    // waitidle also waits for a frame rendered after the end: up to one frame is its design.
    latencies.clear();
    failures = 0;
    Recorder recorder([&client] { return client.Now(); });
    QObject::connect(slide, SIGNAL(stopped()), &recorder, SLOT(Note()));
    for (int i = 1; i <= trials; ++i) {
        recorder.at = 0;
        slide->setProperty("running", true);
        const QJsonObject reply = client.Ask(QJsonObject{{"waitidle", QJsonObject{{"objname", "mover"}}}});
        if (!reply.value(QStringLiteral("result")).toBool() || !recorder.at)
            ++failures;
        else
            latencies.push_back((client.Arrived() - recorder.at) / 1e6);
    }
    Report("waitidle (objname)", latencies, failures);
    return 0;
}

#include "wait_latency_bench.moc"
