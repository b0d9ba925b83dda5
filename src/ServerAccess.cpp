// Who may reach the testing server: the address it listens on and, optionally, a shared token
// that every connection presents first.
//
//  - UIREMOTE_LISTEN names the address (an IP address, or "localhost"); unset, the server
//    listens on every address.
//  - With UIREMOTE_TOKEN set, a connection's first message must be {"auth": {"token": "..."}},
//    answered {"result": true}. Any other first message, or a wrong token, closes the connection
//    without running anything, and one line is logged.

#include "UIRemoteControl.h"

#include "TraceLog.h"
#include "WireText.h"

#include <QTcpSocket>

bool UIRemoteControl::ListenAddress(QHostAddress &address)
{
    const QString value = qEnvironmentVariable("UIREMOTE_LISTEN").trimmed();
    if (value.isEmpty()) {
        address = QHostAddress(QHostAddress::Any);
        return true;
    }
    if (value == QLatin1String("localhost")) {
        address = QHostAddress(QHostAddress::LocalHost);
        return true;
    }
    if (address.setAddress(value))
        return true;
    RC_ERROR("%s, listen address not understood: %s", "UIRemoteControl::ListenAddress", value.toLocal8Bit().constData());
    return false;
}

namespace {

// Compares in a time that does not depend on where the texts differ.
bool SameSecret(const QByteArray &given, const QByteArray &expected)
{
    unsigned char difference = given.size() == expected.size() ? 0 : 1;
    for (int i = 0; i < given.size(); ++i)
        difference |= static_cast<unsigned char>(given[i] ^ expected[i % qMax(1, expected.size())]);
    return difference == 0;
}

bool IsAuthMessage(const QByteArray &message, const QString &token)
{
    QVariant request;
    if (!WireText::ParseMessage(message, request) || request.type() != QVariant::Map)
        return false;
    const QVariantMap map = request.toMap();
    if (map.size() != 1 || map.firstKey() != QLatin1String("auth"))
        return false;
    const QVariant given = map.first().toMap().value(QStringLiteral("token"));
    return given.type() == QVariant::String && SameSecret(given.toString().toUtf8(), token.toUtf8());
}

} // namespace

// Called with the messages of the socket's latest read queued from index `first` on.
bool UIRemoteControl::Authenticate(QTcpSocket *socket, int first)
{
    if (first < m_queue.size() && IsAuthMessage(m_queue.at(first).first, m_token)) {
        m_queue.removeAt(first);
        m_authenticated.insert(socket);
        ResponseToClient(socket, true, QVariant());
        return true;
    }
    RC_ERROR("%s, client not authenticated: connection closed", "UIRemoteControl::Authenticate");
    m_queue.erase(m_queue.begin() + qMin(first, m_queue.size()), m_queue.end());
    m_clients.remove(socket);
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
    return false;
}
