// The acceptor (ClientAcceptor.h): accept4() on the listening socket, and a pause instead of a
// spin when the process has no descriptor left.

#include "ClientAcceptor.h"

#include "Limits.h"

#include <QSocketNotifier>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#endif

bool ClientAcceptor::Supported()
{
#ifdef Q_OS_UNIX
    return true;
#else
    return false;
#endif
}

ClientAcceptor::ClientAcceptor(QTcpServer *server, Adopt adopt, Failed failed, QObject *parent)
    : QObject(parent), m_server(server), m_adopt(std::move(adopt)), m_failed(std::move(failed))
{
    server->pauseAccepting();
    m_notifier = new QSocketNotifier(server->socketDescriptor(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { Accept(); });
}

void ClientAcceptor::Accept()
{
#ifdef Q_OS_UNIX
    const int listening = int(m_server->socketDescriptor());
    for (;;) {
        const int descriptor = ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (descriptor >= 0) {
            auto *socket = new QTcpSocket(m_server);
            if (!socket->setSocketDescriptor(descriptor)) {
                ::close(descriptor);
                delete socket;
                continue;
            }
            m_adopt(socket);
            continue;
        }
        const int error = errno;
        if (error == EINTR || error == ECONNABORTED) // a client that left before it was accepted
            continue;
        if (error == EAGAIN || error == EWOULDBLOCK) // nobody waits any more
            return;
        // Out of descriptors or memory: the connection keeps waiting in the backlog. Watching
        // the socket again at once would find it readable at once.
        m_notifier->setEnabled(false);
        QTimer::singleShot(Limits::kAcceptPauseMs, this, [this] {
            if (m_server->isListening())
                m_notifier->setEnabled(true);
        });
        m_failed(QString::fromLocal8Bit(std::strerror(error)));
        return;
    }
#endif
}
