// Who may reach the testing server (ServerAccess.h): the address it listens on, the token every
// connection presents first when one is set, and the report of failed accepts.

#include "ServerAccess.h"

#include "Limits.h"
#include "UIRemoteControl.h"

#include "TraceLog.h"
#include "WireText.h"

#include <QTcpSocket>

bool ServerAccess::ListenAddress(QHostAddress &address)
{
    // Unset, the server listens on every address; set but blank (a typo, a space, a tab) is an
    // error, never a reason to listen more widely.
    if (!qEnvironmentVariableIsSet("UIREMOTE_LISTEN")) {
        address = QHostAddress(QHostAddress::Any);
        return true;
    }
    const QString value = qEnvironmentVariable("UIREMOTE_LISTEN").trimmed();
    if (value.isEmpty()) {
        RC_ERROR("%s, listen address is blank", "UIRemoteControl::ListenAddress");
        return false;
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

// The token is compared as the bytes the client sent. A message that is not UTF-8 is read a byte
// per character: decoded as UTF-8, its stray bytes would all read as the same replacement
// character, and any such bytes would match a token of such bytes.
bool IsAuthMessage(const QByteArray &message, const QByteArray &token)
{
    const bool utf8 = QString::fromUtf8(message).toUtf8() == message;
    QVariant request;
    if (!(utf8 ? WireText::ParseMessage(message, request) : ParseJSON(QString::fromLatin1(message), request)) ||
        request.userType() != QMetaType::QVariantMap)
        return false;
    const QVariantMap map = request.toMap();
    if (map.size() != 1 || map.firstKey() != QLatin1String("auth"))
        return false;
    const QVariant given = map.first().toMap().value(QStringLiteral("token"));
    if (given.userType() != QMetaType::QString)
        return false;
    const QString text = given.toString();
    return SameSecret(utf8 ? text.toUtf8() : text.toLatin1(), token);
}

} // namespace

// Called with the messages of the socket's latest read queued from index `first` on.
bool ServerAccess::Authenticate(QTcpSocket *socket, int first)
{
    auto &queue = q.m_queue;
    if (first < queue.size() && IsAuthMessage(queue.at(first).first, m_token)) {
        queue.removeAt(first);
        m_authenticated.insert(socket);
        q.ResponseToClient(socket, true, QVariant());
        return true;
    }
    RC_ERROR("%s, client not authenticated: connection closed", "UIRemoteControl::Authenticate");
    queue.erase(queue.begin() + qMin(first, queue.size()), queue.end());
    q.m_clients.remove(socket);
    socket->disconnect(&q);
    socket->abort();
    socket->deleteLater();
    return false;
}

void ServerAccess::ReportAcceptFailure(const QString &reason)
{
    if (m_acceptFailing)
        return;
    m_acceptFailing = true;
    RC_ERROR("%s, accepting a client failed (%s): accepting again every %d ms", "UIRemoteControl::HandleAcceptError",
             qPrintable(reason), Limits::kAcceptPauseMs);
}
