#pragma once
// Who may reach the testing server, and how accepting goes (ServerAccess.cpp):
//
//  - UIREMOTE_LISTEN names the address (an IP address, or "localhost"); unset, the server
//    listens on every address; set but blank, it listens nowhere.
//  - With UIREMOTE_TOKEN set, a connection's first message must be {"auth": {"token": "..."}},
//    answered {"result": true}. Any other first message, or a wrong token, closes the connection
//    without running anything, and one line is logged.

#include <QHostAddress>
#include <QSet>
#include <QString>

class QTcpSocket;
class UIRemoteControl;

class ServerAccess {
public:
    explicit ServerAccess(UIRemoteControl &control) : q(control) {}

    // The address to listen on; false when UIREMOTE_LISTEN is not an address.
    static bool ListenAddress(QHostAddress &address);
    bool NeedsToken(QTcpSocket *socket) const { return !m_token.isEmpty() && !m_authenticated.contains(socket); }
    // The token check of a connection's first read, whose messages are queued from `first` on.
    bool Authenticate(QTcpSocket *socket, int first);
    void Forget(QTcpSocket *socket) { m_authenticated.remove(socket); }

    // One line per run of failed accepts (until a client is accepted again).
    void ReportAcceptFailure(const QString &reason);
    void Accepted() { m_acceptFailing = false; }

    QObject *acceptor = nullptr; // accepts the server's connections where it can (ClientAcceptor.h)

private:
    UIRemoteControl &q;
    const QByteArray m_token = qgetenv("UIREMOTE_TOKEN"); // compared as bytes
    QSet<QTcpSocket *> m_authenticated; // connections that gave the token (when one is set)
    bool m_acceptFailing = false;       // accepting failed and has not succeeded since
};
