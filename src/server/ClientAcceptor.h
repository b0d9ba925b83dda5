#pragma once
// Accepting the connections of a listening QTcpServer without spinning when the process has no
// file descriptor left.
//
// Qt 5.15 takes a failed accept() for lack of descriptors (EMFILE) as a temporary error: it
// neither reports it nor stops watching the listening socket, which stays readable because the
// connection still waits in the backlog, so the event loop wakes at once, fails again, and spins
// at full CPU. Here accepting is done by the acceptor itself: on such a failure it stops watching
// for Limits::kAcceptPauseMs, reports the failure, and tries again.

#include <QObject>
#include <QString>

#include <functional>

class QSocketNotifier;
class QTcpServer;
class QTcpSocket;

class ClientAcceptor : public QObject {
public:
    using Adopt = std::function<void(QTcpSocket *socket)>;
    using Failed = std::function<void(const QString &reason)>;

    // True where the acceptor can take over (Unix); elsewhere the server accepts as usual.
    static bool Supported();

    // server listens; its own accepting is paused from now on. New sockets are children of the
    // server, handed to adopt; failed gets each failure's reason (also during a run of them).
    ClientAcceptor(QTcpServer *server, Adopt adopt, Failed failed, QObject *parent);

private:
    void Accept();

    QTcpServer *m_server;
    QSocketNotifier *m_notifier = nullptr;
    Adopt m_adopt;
    Failed m_failed;
};
