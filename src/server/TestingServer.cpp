// The testing server: listening, client sessions, the framing of incoming bytes into messages,
// the one queue shared by all clients, and the replies.

#include "UIRemoteControl.h"

#include "ClientAcceptor.h"
#include "ControlEngine.h"
#include "Limits.h"
#include "ServerAccess.h"
#include "TraceLog.h"
#include "WireText.h"

#include <QTcpSocket>
#include <QTimer>
#include <QWindow>

UIRemoteControl::UIRemoteControl(QObject *root, QQmlContext *context, int port, QWindow *window)
    : m_root(root), m_window(window), m_context(context), m_server(this), m_access(new ServerAccess(*this)),
      m_engine(new ControlEngine(*this))
{
    const quint16 listenPort = (port >= 1 && port <= 65535) ? quint16(port) : quint16(DEFAULT_PORT);
    QHostAddress address;
    if (!ServerAccess::ListenAddress(address) || !m_server.listen(address, listenPort)) {
        RC_FIXED_ERROR("%s, start testing server error", "UIRemoteControl::UIRemoteControl");
        return;
    }
    m_timer = std::make_shared<MyTimer>();
    connect(&m_server, &QTcpServer::newConnection, this, &UIRemoteControl::HandleNewClientConnected);
    // Where accepting fails and Qt reports it (where the acceptor does not accept itself), Qt
    // stops accepting; it resumes after a pause instead of never.
    connect(&m_server, &QTcpServer::acceptError, this, [this] {
        m_server.pauseAccepting();
        m_access->ReportAcceptFailure(m_server.errorString());
        QTimer::singleShot(Limits::kAcceptPauseMs, this, [this] {
            if (m_server.isListening() && !m_access->acceptor)
                m_server.resumeAccepting();
        });
    });
    if (ClientAcceptor::Supported()) {
        m_access->acceptor = new ClientAcceptor(
            &m_server, [this](QTcpSocket *socket) { AdoptClient(socket); },
            [this](const QString &reason) { m_access->ReportAcceptFailure(reason); }, this);
    }
}

UIRemoteControl::UIRemoteControl(QObject *root, QQmlContext *context, QWindow *window)
    : m_root(root), m_window(window), m_context(context), m_server(this), m_timer(std::make_shared<MyTimer>()),
      m_access(new ServerAccess(*this)), m_engine(new ControlEngine(*this))
{
}

UIRemoteControl::~UIRemoteControl()
{
    m_timer.reset();
    // The sockets die with the server; they must not call back into this half-destroyed object.
    for (QTcpSocket *socket : qAsConst(m_clients))
        socket->disconnect(this);
    delete m_access->acceptor; // it watches the listening socket
    m_server.close();
}

void UIRemoteControl::ServeScene(QObject *root, QQmlContext *context, QWindow *window)
{
    m_root = root;
    m_context = context;
    m_window = window;
}

void UIRemoteControl::HandleNewClientConnected()
{
    while (m_server.hasPendingConnections())
        AdoptClient(m_server.nextPendingConnection());
}

void UIRemoteControl::AdoptClient(QTcpSocket *socket)
{
    // Replies are small writes; without this, a reply that follows another one can wait for
    // the client's delayed acknowledgement (tens of milliseconds).
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_clients.insert(socket);
    m_access->Accepted();
    connect(socket, &QTcpSocket::disconnected, this, &UIRemoteControl::ReleaseClient);
    connect(socket, &QTcpSocket::readyRead, this, &UIRemoteControl::ReadDataFromClient);
}

void UIRemoteControl::ReleaseClient()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket)
        return;
    m_clients.remove(socket);
    m_access->Forget(socket);
    m_engine->ReleaseSpiesOf(socket);
    socket->deleteLater();
    // A wait that client asked for ends with it: the queue goes on for the others.
    if (m_engine->CancelWaitOf(socket))
        PickNextControl();
}

void UIRemoteControl::ReadDataFromClient()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket)
        return;
    const int first = m_queue.size();
    ReadMessage(socket);
    if (m_access->NeedsToken(socket) && !m_access->Authenticate(socket, first))
        return;
    if (!m_busy) {
        m_busy = true;
        PickNextControl();
    }
}

// Cuts the bytes at hand into messages: whitespace outside strings is dropped, a '}' directly
// followed by '{' ends a message (in extension mode, strings may hold escaped quotes), and the
// end of the bytes at hand ends the last one (even when it is empty). Nothing is kept between reads: a message split over two reads becomes two
// broken messages, so clients send each message whole and wait for its reply. Messages stay
// bytes until they are parsed (WireText::ParseMessage).
void UIRemoteControl::ReadMessage(QTcpSocket *socket)
{
    // What the socket has buffered, read in one piece (readAll() grows its buffer in steps).
    QByteArray bytes(int(qMax<qint64>(0, socket->bytesAvailable())), Qt::Uninitialized);
    bytes.resize(int(qMax<qint64>(0, socket->read(bytes.data(), bytes.size()))));
    // The kept bytes move down in place (they never overtake the bytes being read); each message
    // is the stretch [start, out) of them.
    char *data = bytes.data();
    const int size = bytes.size();
    const QPointer<QTcpSocket> guarded(socket);
    int out = 0;
    int start = 0;
    // In extension mode a backslash inside a string escapes the next byte (\" is no closing
    // quote); outside it the framing stays as it always was.
    const bool escapes = m_engine->m_extensions;
    for (int i = 0; i < size; ++i) {
        const char c = data[i];
        if (c == '"') {
            // A string, kept as it is up to its closing quote (or the end of the bytes at hand).
            data[out++] = c;
            for (++i; i < size && data[i] != '"'; ++i) {
                if (data[i] == '\\' && escapes && i + 1 < size)
                    data[out++] = data[i++];
                data[out++] = data[i];
            }
            if (i < size)
                data[out++] = '"';
            continue;
        }
        if (c == '{' && out > start && data[out - 1] == '}') {
            m_queue.append(qMakePair(QByteArray(data + start, out - start), guarded));
            start = out;
        }
        if (c == ' ' || (c >= 0x09 && c <= 0x0D))
            continue;
        data[out++] = c;
    }
    if (start == 0) { // a single message: the buffer itself
        bytes.resize(out);
        m_queue.append(qMakePair(bytes, guarded));
    } else {
        m_queue.append(qMakePair(QByteArray(data + start, out - start), guarded));
    }
}

void UIRemoteControl::PickNextControl()
{
    // Queued like a zero-time single shot, without looking the slot up by its name each time.
    QMetaObject::invokeMethod(this, &UIRemoteControl::ParseMessageAndDoControl, Qt::QueuedConnection);
}

void UIRemoteControl::ParseMessageAndDoControl()
{
    if (m_queue.isEmpty()) {
        m_busy = false;
        return;
    }
    if (m_beforeEachControl)
        m_beforeEachControl();
    const QPair<QByteArray, QPointer<QTcpSocket>> message = m_queue.takeFirst();
    const QPointer<QTcpSocket> &socket = message.second;
    if (!socket || !m_clients.contains(socket.data())) {
        ResponseToClient(socket.data(), false, QVariant());
        RC_FIXED_ERROR("%s, client socket not found", "UIRemoteControl::ParseMessageAndDoControl");
        PickNextControl();
        return;
    }
    QVariant request;
    if (!WireText::ParseMessage(message.first, request) || request.userType() != QMetaType::QVariantMap) {
        RC_FIXED_ERROR("%s, parse message failed", "UIRemoteControl::ParseMessageAndDoControl");
        m_engine->SetFailureReason(QStringLiteral("the message is not a JSON object"));
        ResponseToClient(socket.data(), false, QVariant());
        PickNextControl();
        return;
    }
    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);
    m_engine->ExtractExtensionWord(request, info);
    DoControl(info, socket);
}

void UIRemoteControl::ResponseToClient(QTcpSocket *socket, bool success, const QVariant &value)
{
    QVariantMap reply;
    reply.insert(QStringLiteral("result"), success);
    if (value.isValid())
        reply.insert(QStringLiteral("value"), value);
    const QString reason = m_engine->TakeFailureReason();
    if (!success && m_engine->m_extensions && !reason.isEmpty())
        reply.insert(QStringLiteral("error"), reason);
    const QByteArray bytes = WireText::SerializeMessage(reply);
    // A socket that has disconnected (and waits for deletion) gets nothing.
    if (!socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    // A client that does not read its replies would make them pile up here without end.
    const qint64 unsent = socket->bytesToWrite();
    if (unsent > 0 && unsent + bytes.size() > Limits::kMaxUnsentOutput) {
        RC_ERROR("%s, client does not read its replies (%lld bytes unsent): disconnected",
                 "UIRemoteControl::ResponseToClient", static_cast<long long>(unsent));
        // Its waiting messages go with it: nobody would read their replies either.
        for (int i = m_queue.size() - 1; i >= 0; --i) {
            if (m_queue.at(i).second == socket)
                m_queue.removeAt(i);
        }
        socket->abort();
        return;
    }
    socket->write(bytes);
}

