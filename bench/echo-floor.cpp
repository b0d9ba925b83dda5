// echo-floor: the floor of the network benchmarks.
//
// A bare single-threaded QTcpServer on the same event-loop design as the remote control's
// server, with no QML scene and no control behind it:
//
//   readyRead -> readAll -> cut into messages -> queue -> one message per zero-time single-shot
//   timer -> answer with a table lookup -> schedule the next single-shot (which finds the queue
//   empty and goes idle)
//
// Messages are cut as the remote control cuts them (at a '}' directly followed by '{' outside
// strings, and at the end of each read; nothing is kept between reads), so a burst split by TCP
// fails the same way on both servers.
//
// The answer to a message is looked up in a reply table recorded from uiremote-host by
// "bench-client record" (the exact reply bytes the host gave to the same request bytes), so the
// floor writes replies of the same size. A message not in the table gets {"result": false} as
// the host writes it.
//
// Usage: echo-floor [--port N] [--replies FILE]
//   --port 0 (the default) picks a free port. Prints "echo-floor: listening on <port>".
//   Accepted sockets get TCP_NODELAY (QAbstractSocket::LowDelayOption), as in the remote control.
//   Quits on SIGINT/SIGTERM.
//
// It runs a QGuiApplication on the same platform as uiremote-host (offscreen without a display)
// so both servers use the same event dispatcher.

#include <QByteArray>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QList>
#include <QPair>
#include <QPointer>
#include <QSocketNotifier>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void OnQuitSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] ssize_t written = ::write(g_signalPipe[1], &byte, 1);
}

// Reads the table written by bench-client: records of
// [u32 request length][request bytes][u32 reply length][reply bytes], native byte order.
bool LoadReplies(const QString &path, QHash<QByteArray, QByteArray> &table)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray data = file.readAll();
    int pos = 0;
    auto take = [&](QByteArray &out) {
        quint32 size = 0;
        if (pos + 4 > data.size())
            return false;
        std::memcpy(&size, data.constData() + pos, 4);
        pos += 4;
        if (pos + int(size) > data.size())
            return false;
        out = data.mid(pos, int(size));
        pos += int(size);
        return true;
    };
    while (pos < data.size()) {
        QByteArray request, reply;
        if (!take(request) || !take(reply))
            return false;
        table.insert(request, reply);
    }
    return true;
}

class EchoFloor : public QObject {
    Q_OBJECT
public:
    EchoFloor(QHash<QByteArray, QByteArray> table, bool noDelay) : m_table(std::move(table)), m_noDelay(noDelay)
    {
        connect(&m_server, &QTcpServer::newConnection, this, &EchoFloor::OnNewConnection);
    }

    bool Listen(quint16 port) { return m_server.listen(QHostAddress::Any, port); }
    quint16 Port() const { return m_server.serverPort(); }

private slots:
    void OnNewConnection()
    {
        while (m_server.hasPendingConnections()) {
            QTcpSocket *socket = m_server.nextPendingConnection();
            m_clients.append(socket);
            if (m_noDelay)
                socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            connect(socket, SIGNAL(disconnected()), this, SLOT(OnDisconnected()));
            connect(socket, SIGNAL(readyRead()), this, SLOT(OnReadyRead()));
        }
    }

    void OnDisconnected()
    {
        auto *socket = qobject_cast<QTcpSocket *>(sender());
        if (!socket)
            return;
        m_clients.removeOne(socket);
        socket->deleteLater();
    }

    void OnReadyRead()
    {
        auto *socket = qobject_cast<QTcpSocket *>(sender());
        if (!socket)
            return;
        Cut(socket);
        if (!m_busy) {
            m_busy = true;
            PickNext();
        }
    }

    void AnswerOne()
    {
        if (m_queue.isEmpty()) {
            m_busy = false;
            return;
        }
        const QPair<QByteArray, QPointer<QTcpSocket>> message = m_queue.takeFirst();
        QTcpSocket *socket = message.second.data();
        if (socket && m_clients.contains(socket) && socket->state() == QAbstractSocket::ConnectedState) {
            const auto it = m_table.constFind(message.first);
            socket->write(it != m_table.constEnd() ? it.value() : m_failure);
        }
        PickNext();
    }

private:
    void PickNext() { QTimer::singleShot(0, this, SLOT(AnswerOne())); }

    // The bytes at hand cut into messages at "}{" outside strings and at their end. Requests of
    // the benchmarks carry no whitespace, so none is dropped here.
    void Cut(QTcpSocket *socket)
    {
        const QByteArray bytes = socket->readAll();
        const QPointer<QTcpSocket> guarded(socket);
        bool inQuotes = false;
        int start = 0;
        const int size = bytes.size();
        const char *data = bytes.constData();
        for (int i = 0; i < size; ++i) {
            const char c = data[i];
            if (c == '"')
                inQuotes = !inQuotes;
            else if (!inQuotes && c == '{' && i > start && data[i - 1] == '}') {
                m_queue.append(qMakePair(bytes.mid(start, i - start), guarded));
                start = i;
            }
        }
        m_queue.append(qMakePair(bytes.mid(start), guarded));
    }

    QTcpServer m_server;
    QHash<QByteArray, QByteArray> m_table;
    const QByteArray m_failure = QByteArrayLiteral("{\n    \"result\": false\n}\n");
    QList<QPair<QByteArray, QPointer<QTcpSocket>>> m_queue;
    QList<QTcpSocket *> m_clients;
    bool m_busy = false;
    bool m_noDelay = false;
};

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    int port = 0;
    QString repliesPath;
    const bool noDelay = true;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--port") && i + 1 < args.size())
            port = args[++i].toInt();
        else if (args[i] == QLatin1String("--replies") && i + 1 < args.size())
            repliesPath = args[++i];
        else {
            std::fprintf(stderr, "usage: echo-floor [--port N] [--replies FILE]\n");
            return 2;
        }
    }

    QHash<QByteArray, QByteArray> table;
    if (!repliesPath.isEmpty() && !LoadReplies(repliesPath, table)) {
        std::fprintf(stderr, "echo-floor: cannot read reply table %s\n", qPrintable(repliesPath));
        return 1;
    }
    EchoFloor floor(std::move(table), noDelay);
    if (port < 0 || port > 65535 || !floor.Listen(quint16(port))) {
        std::fprintf(stderr, "echo-floor: cannot listen on port %d\n", port);
        return 1;
    }

    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) == 0) {
        auto *notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
        std::signal(SIGINT, OnQuitSignal);
        std::signal(SIGTERM, OnQuitSignal);
    }
    std::printf("echo-floor: listening on %d\n", floor.Port());
    std::fflush(stdout);
    return app.exec();
}

#include "echo-floor.moc"
