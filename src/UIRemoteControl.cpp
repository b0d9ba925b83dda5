#include "UIRemoteControl.h"

#include "IKRVNTreeModel.h"
#include "RouteStack.h"
#include "TraceLog.h"

#include <QGuiApplication>
#include <QJSValue>
#include <QJsonDocument>
#include <QQmlContext>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTimer>
#include <QTimerEvent>
#include <QWindow>
#include <QtTest/qtestkeyboard.h>
#include <QtTest/qtestmouse.h>

#include <limits>

namespace QTest {
Q_TESTLIB_EXPORT int defaultMouseDelay();
}

// ---------------------------------------------------------------------------------------------
// Message format

const QStringList &ControlTypeWords()
{
    static const QStringList words = {
        QStringLiteral("addjoystick"),   QStringLiteral("click"),
        QStringLiteral("dbclick"),       QStringLiteral("drag"),
        QStringLiteral("drop"),          QStringLiteral("emitpluginsignal"),
        QStringLiteral("getpro"),        QStringLiteral("getfltmdlitemval"),
        QStringLiteral("getgrpmdlitemval"), QStringLiteral("getmdlitemval"),
        QStringLiteral("getwinname"),    QStringLiteral("hover"),
        QStringLiteral("invoke"),        QStringLiteral("invokeret"),
        QStringLiteral("joystickbuttonevent"), QStringLiteral("keyclick"),
        QStringLiteral("movejoystick"),  QStringLiteral("press"),
        QStringLiteral("setpro"),        QStringLiteral("waitsignal"),
    };
    return words;
}

bool ParseJSON(const QString &text, QVariant &result)
{
    if (text.isEmpty())
        return false;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (document.isNull() || document.isEmpty())
        return false;
    result = document.toVariant();
    return true;
}

bool SerializeJSON(const QVariant &value, QString &text)
{
    if (!value.isValid() || value.isNull())
        return false;
    const QJsonDocument document = QJsonDocument::fromVariant(value);
    if (document.isNull() || document.isEmpty())
        return false;
    text = QString::fromUtf8(document.toJson(QJsonDocument::Indented));
    return true;
}

void ExtractParsedMessageInfo(const QVariant &request, ParsedMessageInfo &info)
{
    const QVariantMap map = request.toMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (ControlTypeWords().contains(it.key())) {
            info.controlType = it.key();
            info.args = it.value().toMap();
        } else {
            const int delay = it.value().toInt();
            if (delay > 0)
                info.delay = delay;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Delay timer

int MyTimer::Start(int msec, std::function<void()> callable)
{
    const int id = startTimer(msec, Qt::CoarseTimer);
    if (id != 0)
        m_callables.insert(id, std::move(callable));
    return id;
}

void MyTimer::timerEvent(QTimerEvent *event)
{
    const auto it = m_callables.find(event->timerId());
    if (it == m_callables.end())
        return;
    killTimer(event->timerId());
    const std::function<void()> callable = it.value();
    callable(); // an empty callable throws std::bad_function_call: a programming error
    m_callables.remove(event->timerId());
}

// ---------------------------------------------------------------------------------------------
// Construction and the testing server

UIRemoteControl::UIRemoteControl(QObject *root, QQmlContext *context, int port, QWindow *window)
    : m_root(root), m_window(window), m_context(context), m_server(this)
{
    const quint16 listenPort = (port >= 1 && port <= 65535) ? quint16(port) : quint16(DEFAULT_PORT);
    if (!m_server.listen(QHostAddress::Any, listenPort)) {
        RC_ERROR("%s, start testing server error", "UIRemoteControl::UIRemoteControl");
        return;
    }
    m_timer = std::make_shared<MyTimer>();
    connect(&m_server, SIGNAL(newConnection()), this, SLOT(HandleNewClientConnected()));
}

UIRemoteControl::UIRemoteControl(QObject *root, QQmlContext *context, QWindow *window)
    : m_root(root), m_window(window), m_context(context), m_server(this), m_timer(std::make_shared<MyTimer>())
{
}

UIRemoteControl::~UIRemoteControl()
{
    m_timer.reset();
    // The sockets die with the server; they must not call back into this half-destroyed object.
    for (QTcpSocket *socket : qAsConst(m_clients))
        socket->disconnect(this);
    m_server.close();
}

void UIRemoteControl::HandleNewClientConnected()
{
    while (m_server.hasPendingConnections()) {
        QTcpSocket *socket = m_server.nextPendingConnection();
        // Replies are small writes; without this, a reply that follows another one can wait for
        // the client's delayed acknowledgement (tens of milliseconds).
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_clients.append(socket);
        connect(socket, SIGNAL(disconnected()), this, SLOT(ReleaseClient()));
        connect(socket, SIGNAL(readyRead()), this, SLOT(ReadDataFromClient()));
    }
}

void UIRemoteControl::ReleaseClient()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket)
        return;
    m_clients.removeOne(socket);
    socket->deleteLater();
}

void UIRemoteControl::ReadDataFromClient()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket)
        return;
    ReadMessage(socket);
    if (!m_busy) {
        m_busy = true;
        PickNextControl();
    }
}

namespace {

// The whole buffer as UTF-8, NUL bytes included: a NUL makes the message fail to parse instead
// of silently cutting it short.
QString DecodeMessage(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.constData(), bytes.size());
}

} // namespace

// Cuts the bytes at hand into messages: whitespace outside strings is dropped, a '}' directly
// followed by '{' ends a message, and the end of the bytes at hand ends the last one (even when
// it is empty). Nothing is kept between reads: a message split over two reads becomes two
// broken messages, so clients send each message whole and wait for its reply.
void UIRemoteControl::ReadMessage(QTcpSocket *socket)
{
    const QByteArray bytes = socket->readAll();
    QByteArray buffer;
    bool inQuotes = false;
    for (const char c : bytes) {
        if (c == '"') {
            inQuotes = !inQuotes;
            buffer.append(c);
            continue;
        }
        if (inQuotes) {
            buffer.append(c);
            continue;
        }
        if (c == '{' && buffer.endsWith('}')) {
            m_queue.append(qMakePair(DecodeMessage(buffer), QPointer<QTcpSocket>(socket)));
            buffer.clear();
        }
        if (c == ' ' || (c >= 0x09 && c <= 0x0D))
            continue;
        buffer.append(c);
    }
    m_queue.append(qMakePair(DecodeMessage(buffer), QPointer<QTcpSocket>(socket)));
}

void UIRemoteControl::PickNextControl()
{
    QTimer::singleShot(0, this, SLOT(ParseMessageAndDoControl()));
}

void UIRemoteControl::ParseMessageAndDoControl()
{
    if (m_queue.isEmpty()) {
        m_busy = false;
        return;
    }
    const QPair<QString, QPointer<QTcpSocket>> message = m_queue.takeFirst();
    const QPointer<QTcpSocket> &socket = message.second;
    if (!socket || !m_clients.contains(socket.data())) {
        ResponseToClient(socket.data(), false, QVariant());
        RC_ERROR("%s, client socket not found", "UIRemoteControl::ParseMessageAndDoControl");
        PickNextControl();
        return;
    }
    QVariant request;
    if (message.first.isEmpty() || !ParseJSON(message.first, request) || request.type() != QVariant::Map) {
        RC_ERROR("%s, parse message failed", "UIRemoteControl::ParseMessageAndDoControl");
        ResponseToClient(socket.data(), false, QVariant());
        PickNextControl();
        return;
    }
    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);
    DoControl(info, socket);
}

void UIRemoteControl::ResponseToClient(QTcpSocket *socket, bool success, const QVariant &value)
{
    QVariantMap reply;
    reply.insert(QStringLiteral("result"), success);
    if (value.isValid())
        reply.insert(QStringLiteral("value"), value);
    QString text;
    SerializeJSON(reply, text);
    // A socket that has disconnected (and waits for deletion) gets nothing.
    if (socket && socket->state() == QAbstractSocket::ConnectedState)
        socket->write(text.toUtf8());
}

// ---------------------------------------------------------------------------------------------
// Dispatch

void UIRemoteControl::DoControl(const ParsedMessageInfo &info, QPointer<QTcpSocket> socket)
{
    if (info.controlType.isEmpty()) {
        RC_ERROR("%s, control type is empty", "UIRemoteControl::DoControl");
        ResponseToClient(socket.data(), false, QVariant());
        PickNextControl();
        return;
    }
    if (!socket || !m_clients.contains(socket.data())) {
        PickNextControl();
        return;
    }
    if (info.delay < 1 || !m_timer) {
        QVariant value;
        const bool result = Action(info, value);
        // The control may have run a nested event loop; its client may be gone by now.
        if (socket && m_clients.contains(socket.data()))
            ResponseToClient(socket.data(), result, value);
        PickNextControl();
        return;
    }
    ParsedMessageInfo now = info;
    now.delay = 0;
    m_timer->Start(info.delay, [this, now, socket]() { DoControl(now, socket); });
}

bool UIRemoteControl::controlObject(const QVariant &request, QVariant &retValue)
{
    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);
    return Action(info, retValue);
}

bool UIRemoteControl::Action(const ParsedMessageInfo &info, QVariant &value)
{
    const QString &type = info.controlType;
    const ArgumentMap &args = info.args;
    bool result = false;
    if (type == QLatin1String("invoke"))
        result = DoInvokeMethod(args);
    else if (type == QLatin1String("invokeret"))
        result = DoInvokeRetMethod(args, value);
    else if (type == QLatin1String("getpro"))
        result = DoGetProperty(args, value);
    else if (type == QLatin1String("setpro"))
        result = DoSetProperty(args);
    else if (type == QLatin1String("click"))
        result = DoClick(args, false);
    else if (type == QLatin1String("dbclick"))
        result = DoClick(args, true);
    else if (type == QLatin1String("hover"))
        result = DoHover(args);
    else if (type == QLatin1String("waitsignal"))
        result = DoWaitSignal(args);
    else if (type == QLatin1String("getmdlitemval"))
        result = DoGetModelValue(args, value);
    else if (type == QLatin1String("getgrpmdlitemval"))
        result = DoGetGroupModelValue(args, value);
    else if (type == QLatin1String("getfltmdlitemval"))
        result = DoGetFilterModelValue(args, value);
    else if (type == QLatin1String("drag"))
        result = DoDrag(args);
    else if (type == QLatin1String("drop"))
        result = DoDrop(args);
    else if (type == QLatin1String("press"))
        result = DoPress(args);
    else if (type == QLatin1String("keyclick"))
        result = DoKeyClick(args);
    else if (type == QLatin1String("getwinname"))
        result = DoGetWindowName(args, value);
    else if (type == QLatin1String("emitpluginsignal"))
        EmitPluginSignal(args), result = true;
    else if (type == QLatin1String("movejoystick"))
        MoveJoystick(args), result = true;
    else if (type == QLatin1String("joystickbuttonevent"))
        DoJoystickButtonEvent(args), result = true;
    else if (type == QLatin1String("addjoystick"))
        DoAddJoystick(args), result = true;
    else {
        RC_ERROR("%s, control type not support", "UIRemoteControl::Action");
        value = QVariant();
        return false;
    }
    // Script values (returned by QML functions) become plain variants so the reply can hold them.
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    return result;
}

// ---------------------------------------------------------------------------------------------
// Object path search

QString UIRemoteControl::GetObjectOrClassName(const QObject *object)
{
    if (!object)
        return QString();
    const QString name = object->objectName();
    return name.isEmpty() ? QString::fromLatin1(object->metaObject()->className()) : name;
}

bool UIRemoteControl::isDerivedFrom(const QObject *object, const QStringList &classNames)
{
    if (!object)
        return false;
    for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
        const QLatin1String className(meta->className());
        for (const QString &candidate : classNames) {
            if (className.indexOf(candidate, 0, Qt::CaseSensitive) != -1)
                return true;
        }
    }
    return false;
}

QObject *UIRemoteControl::FindQMLObject(QObject *parent, QStringList names, RouteStack *route) const
{
    // The label is the object's name, else its class name (GetObjectOrClassName). The name is read
    // once: it is also what the head of the path is compared with (an unnamed object's name is
    // empty, whatever its label).
    QString label = parent ? parent->objectName() : QString();
    const bool named = !label.isEmpty();
    if (parent && !named)
        label = QString::fromLatin1(parent->metaObject()->className());
    // The address is shown by its low 32 bits, which is what the "%X" conversion takes.
    RC_LOG(TraceLog::Trace, "%s, pParent = [%X], name = [%s], objNames = [%s]", "UIRemoteControl::FindQMLObject",
           static_cast<unsigned>(reinterpret_cast<quintptr>(parent)), label.toLocal8Bit().constData(),
           names.join(QLatin1Char('.')).toLocal8Bit().constData());
    RouteStackGuard guard(label, route);
    if (!parent) {
        if (route)
            route->TakeSnapshot(QStringLiteral("invalid argument"));
        return nullptr;
    }
    if (!names.isEmpty() && (named ? label == names.constFirst() : names.constFirst().isEmpty()))
        names.removeFirst();
    if (names.isEmpty()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("target found"));
        return parent;
    }
    for (QObject *child : parent->children()) {
        if (QObject *found = FindQMLObject(child, names, route))
            return found;
    }
    static const QStringList repeaterClasses = {QStringLiteral("QQuickRepeater")};
    static const QStringList flickableClasses = {QStringLiteral("QQuickFlickable"), QStringLiteral("QQuickGridView"),
                                                 QStringLiteral("QQuickListView")};
    // The guards skip class-name tests that cannot change the outcome: only items have repeater
    // delegates, and a flickable's delegates hang below one of its children.
    if (qobject_cast<QQuickItem *>(parent) && isDerivedFrom(parent, repeaterClasses)) {
        if (QObject *found = FindQMLObjectForRepeater(parent, names, route))
            return found;
    }
    if (!parent->children().isEmpty() && isDerivedFrom(parent, flickableClasses))
        return FindQMLObjectForFlickable(parent, names, route);
    return nullptr;
}

// A repeater's delegates are visual children of the repeater's parent item.
QObject *UIRemoteControl::FindQMLObjectForRepeater(const QObject *repeater, const QStringList &names,
                                                   RouteStack *route) const
{
    const auto *item = qobject_cast<const QQuickItem *>(repeater);
    QQuickItem *parentItem = item ? item->parentItem() : nullptr;
    if (!parentItem)
        return nullptr;
    static const QStringList repeaterClasses = {QStringLiteral("QQuickRepeater")};
    for (QQuickItem *child : parentItem->childItems()) {
        if (isDerivedFrom(child, repeaterClasses))
            continue;
        if (QObject *found = FindQMLObject(child, names, route))
            return found;
    }
    return nullptr;
}

// A flickable view's delegates hang below its content item in the visual tree.
QObject *UIRemoteControl::FindQMLObjectForFlickable(const QObject *flickable, const QStringList &names,
                                                    RouteStack *route) const
{
    for (QObject *child : flickable->children()) {
        auto *item = qobject_cast<QQuickItem *>(child);
        if (!item)
            continue;
        for (QQuickItem *grandChild : item->childItems()) {
            if (QObject *found = FindQMLObject(grandChild, names, route))
                return found;
        }
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Resolution of a message's naming keys

QObject *UIRemoteControl::FindQMLObject(const ArgumentMap &args) const
{
    if (args.contains(QStringLiteral("method")))
        return FindUnnamedQMLObject(args);
    return FindNamedQMLObject(args);
}

QObject *UIRemoteControl::FindNamedQMLObject(const ArgumentMap &args) const
{
    const QString parent = args.value(QStringLiteral("parobjname")).toString();
    const QString name = args.value(QStringLiteral("objname")).toString();
    const QString path = parent.isEmpty() ? name : parent + QLatin1Char('.') + name;
    const QStringList names = path.split(QLatin1Char('.'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    RouteStack route;
    QObject *found = FindQMLObject(m_root, names, &route);
    route.DumpSnapshots();
    if (!found)
        RC_ERROR("%s, can not find QObject %s", "UIRemoteControl::FindNamedQMLObject", path.toLocal8Bit().constData());
    return found;
}

QObject *UIRemoteControl::FindUnnamedQMLObject(const ArgumentMap &args) const
{
    QVariant value;
    if (!DoInvokeRetMethod(args, value)) {
        RC_ERROR("%s, can not get unnamed QObject", "UIRemoteControl::FindUnnamedQMLObject");
        return nullptr;
    }
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    QObject *object = qobject_cast<QObject *>(qvariant_cast<QObject *>(value));
    if (!object) {
        RC_ERROR("%s, the object is not a QObject", "UIRemoteControl::FindUnnamedQMLObject");
        return nullptr;
    }
    return object;
}

QWindow *UIRemoteControl::FindQMLWindow(const QString &name) const
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (window->objectName() == name)
            return window;
    }
    return m_window;
}

bool UIRemoteControl::FindWindowAndQuickItem(const ArgumentMap &args, const QString &caller, QWindow **window,
                                             QQuickItem **item) const
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QWindow *foundWindow = winName.isEmpty() ? nullptr : FindQMLWindow(winName);
    if (!foundWindow) {
        RC_ERROR("%s, can not find QWindow %s", caller.toLocal8Bit().constData(), winName.toLocal8Bit().constData());
        return false;
    }
    auto *foundItem = qobject_cast<QQuickItem *>(FindQMLObject(args));
    if (!foundItem) {
        RC_ERROR("%s, can not find QQuickItem", caller.toLocal8Bit().constData());
        return false;
    }
    *window = foundWindow;
    *item = foundItem;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Properties, methods, window name

bool UIRemoteControl::DoGetProperty(const ArgumentMap &args, QVariant &value)
{
    QObject *object = FindQMLObject(args);
    if (!object)
        return false;
    value = QQmlProperty::read(object, args.value(QStringLiteral("property")).toString());
    return value.isValid();
}

bool UIRemoteControl::DoSetProperty(const ArgumentMap &args)
{
    QObject *object = FindQMLObject(args);
    if (!object)
        return false;
    return QQmlProperty::write(object, args.value(QStringLiteral("property")).toString(),
                               args.value(QStringLiteral("propval")));
}

bool UIRemoteControl::DoGetWindowName(const ArgumentMap &args, QVariant &value)
{
    QObject *object = FindQMLObject(args);
    if (!object)
        return false;
    auto *item = qobject_cast<QQuickItem *>(object);
    if (!item) {
        RC_ERROR("%s, the object is not a QQuickItem", "UIRemoteControl::DoGetWindowName");
        return false;
    }
    QQuickWindow *window = item->window();
    if (!window) {
        RC_ERROR("%s, the object has no QQuickWindow", "UIRemoteControl::DoGetWindowName");
        return false;
    }
    value = QVariant(window->objectName());
    return true;
}

namespace {

// Calls method with up to ten QVariant arguments taken from "mthargs"; later elements are ignored.
bool InvokeWithVariants(QObject *object, const ArgumentMap &args, QGenericReturnArgument ret)
{
    const QByteArray method = args.value(QStringLiteral("method")).toString().toLocal8Bit();
    const QVariantList list = args.value(QStringLiteral("mthargs")).toList();
    QGenericArgument a[10];
    for (int i = 0; i < 10 && i < list.size(); ++i)
        a[i] = QGenericArgument("QVariant", &list.at(i));
    return QMetaObject::invokeMethod(object, method.constData(), Qt::DirectConnection, ret, a[0], a[1], a[2], a[3],
                                     a[4], a[5], a[6], a[7], a[8], a[9]);
}

} // namespace

bool UIRemoteControl::DoInvokeMethod(const ArgumentMap &args)
{
    QObject *object = FindNamedQMLObject(args);
    if (!object)
        return false;
    return InvokeWithVariants(object, args, QGenericReturnArgument());
}

bool UIRemoteControl::DoInvokeRetMethod(const ArgumentMap &args, QVariant &value) const
{
    QObject *object = FindNamedQMLObject(args);
    if (!object)
        return false;
    QVariant returned;
    if (!InvokeWithVariants(object, args, QGenericReturnArgument("QVariant", &returned)))
        return false;
    value = returned;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Pointer and keyboard input

namespace {

// Delivers one mouse action to a window exactly as the Qt Test library's mouseEvent() for a
// QWindow does (same event sequence, buttons, time stamps, default delay and shared button
// state), except that modifier bits outside Qt::KeyboardModifierMask are dropped instead of
// aborting the process: a client must never be able to end the application.
void SendMouseEvent(QTest::MouseAction action, QWindow *window, Qt::MouseButton button,
                    Qt::KeyboardModifiers stateKey, QPoint pos, int delay = -1)
{
    const QSize windowSize = window->geometry().size();
    if (windowSize.width() <= pos.x() || windowSize.height() <= pos.y()) {
        qWarning("%s", qPrintable(QString::fromLatin1("Mouse event at %1, %2 occurs outside of target window (%3x%4).")
                                      .arg(pos.x())
                                      .arg(pos.y())
                                      .arg(windowSize.width())
                                      .arg(windowSize.height())));
    }
    if (delay == -1 || delay < QTest::defaultMouseDelay())
        delay = QTest::defaultMouseDelay();
    if (delay > 0) {
        QTest::qWait(delay);
        QTest::lastMouseTimestamp += delay;
    }
    if (pos.isNull())
        pos = QPoint(window->width() / 2, window->height() / 2);
    stateKey &= static_cast<unsigned int>(Qt::KeyboardModifierMask);

    const QPointF global = window->mapToGlobal(pos);
    QPointer<QWindow> w(window);
    Qt::MouseButtons &buttons = QTestPrivate::qtestMouseButtons;
    switch (action) {
    case QTest::MouseDClick:
        buttons.setFlag(button, true);
        qt_handleMouseEvent(w, pos, global, buttons, button, QEvent::MouseButtonPress, stateKey,
                            ++QTest::lastMouseTimestamp);
        buttons.setFlag(button, false);
        qt_handleMouseEvent(w, pos, global, buttons, button, QEvent::MouseButtonRelease, stateKey,
                            ++QTest::lastMouseTimestamp);
        Q_FALLTHROUGH();
    case QTest::MousePress:
    case QTest::MouseClick:
        buttons.setFlag(button, true);
        qt_handleMouseEvent(w, pos, global, buttons, button, QEvent::MouseButtonPress, stateKey,
                            ++QTest::lastMouseTimestamp);
        QTest::lastMouseButton = button;
        if (action == QTest::MousePress)
            break;
        Q_FALLTHROUGH();
    case QTest::MouseRelease:
        buttons.setFlag(button, false);
        qt_handleMouseEvent(w, pos, global, buttons, button, QEvent::MouseButtonRelease, stateKey,
                            ++QTest::lastMouseTimestamp);
        QTest::lastMouseTimestamp += QTest::mouseDoubleClickInterval; // no accidental double clicks
        QTest::lastMouseButton = Qt::NoButton;
        break;
    case QTest::MouseMove:
        qt_handleMouseEvent(w, pos, global, buttons, Qt::NoButton, QEvent::MouseMove, stateKey,
                            ++QTest::lastMouseTimestamp);
        break;
    }
    qApp->processEvents();
}

// Coordinates beyond the int range (a client's point near INT_MAX in a moved item, or a huge
// item size) are clamped: converting them to int would be undefined. qRound() needs one unit of
// headroom below INT_MIN; NaN ends up at the lower bound.
qreal ClampToInt(qreal value)
{
    return qBound(qreal(std::numeric_limits<int>::min() + 1), value, qreal(std::numeric_limits<int>::max()));
}

QPoint RoundedPoint(const QPointF &point)
{
    return QPoint(qRound(ClampToInt(point.x())), qRound(ClampToInt(point.y())));
}

QPoint SceneCentre(QQuickItem *item) // click, dbclick, hover: rounded after mapping
{
    return RoundedPoint(item->mapToScene(QPointF(item->width() * 0.5, item->height() * 0.5)));
}

QPoint IntegerCentre(QQuickItem *item) // press, drop, drag: truncated before mapping
{
    return QPoint(int(ClampToInt(item->width() * 0.5)), int(ClampToInt(item->height() * 0.5)));
}

QPoint ToScene(QQuickItem *item, const QPoint &local)
{
    return RoundedPoint(item->mapToScene(QPointF(local)));
}

void ClickItem(QQuickItem *item, QWindow *window, Qt::MouseButton button, bool doubleClick, bool usePoint, int x,
               int y, Qt::KeyboardModifiers modifiers)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::ClickItem");
    const QPoint pos = usePoint ? ToScene(item, QPoint(x, y)) : SceneCentre(item);
    SendMouseEvent(doubleClick ? QTest::MouseDClick : QTest::MouseClick, window, button, modifiers, pos);
}

void HoverOnItemCenter(QQuickItem *item, QWindow *window)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::HoverOnItemCenter");
    SendMouseEvent(QTest::MouseMove, window, Qt::NoButton, Qt::NoModifier, SceneCentre(item));
}

void HoverOnPointInItem(QQuickItem *item, QWindow *window, int x, int y)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::HoverOnPointInItem");
    SendMouseEvent(QTest::MouseMove, window, Qt::NoButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

void DragItem(QQuickItem *item, QWindow *window, const QPoint &from, const QPoint &to)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::DragItem");
    SendMouseEvent(QTest::MousePress, window, Qt::LeftButton, Qt::NoModifier, ToScene(item, from));
    SendMouseEvent(QTest::MouseMove, window, Qt::NoButton, Qt::NoModifier, ToScene(item, to));
}

void DragItemFromCenter(QQuickItem *item, QWindow *window, const QPoint &to)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::DragItemFromCenter");
    DragItem(item, window, IntegerCentre(item), to);
}

void DropItem(QQuickItem *item, QWindow *window, int x, int y)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::DropItem");
    SendMouseEvent(QTest::MouseRelease, window, Qt::LeftButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

void PressItem(QQuickItem *item, QWindow *window, int x, int y)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::PressItem");
    SendMouseEvent(QTest::MousePress, window, Qt::LeftButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

bool HasPoint(const ArgumentMap &args)
{
    return args.contains(QStringLiteral("x")) && args.contains(QStringLiteral("y"));
}

QPoint ArgPoint(const ArgumentMap &args, const char *xKey, const char *yKey)
{
    return QPoint(args.value(QLatin1String(xKey)).toInt(), args.value(QLatin1String(yKey)).toInt());
}

// The client's point when both "x" and "y" are given, else the truncated centre.
QPoint PointOrIntegerCentre(const ArgumentMap &args, QQuickItem *item)
{
    return HasPoint(args) ? ArgPoint(args, "x", "y") : IntegerCentre(item);
}

// True for the key codes that QTest::keyToAscii() knows; for any other code it would abort.
bool KeyToAsciiKnows(int key)
{
    if ((key >= 0x20 && key <= 0x60) || (key >= 0x7b && key <= 0x7e) || (key >= 0xa0 && key <= 0xdf) ||
        key == 0xf7 || key == 0xff)
        return true;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return true;
    switch (key) {
    case Qt::Key_Backspace: case Qt::Key_Tab: case Qt::Key_Backtab: case Qt::Key_Enter: case Qt::Key_Return: case Qt::Key_Escape:
    case Qt::Key_Delete: case Qt::Key_Insert: case Qt::Key_Pause: case Qt::Key_Print: case Qt::Key_SysReq:
    case Qt::Key_Clear: case Qt::Key_Home: case Qt::Key_End: case Qt::Key_Left: case Qt::Key_Up:
    case Qt::Key_Right: case Qt::Key_Down: case Qt::Key_PageUp: case Qt::Key_PageDown: case Qt::Key_Shift:
    case Qt::Key_Control: case Qt::Key_Meta: case Qt::Key_Alt: case Qt::Key_CapsLock: case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
        return true;
    default:
        return false;
    }
}

// One key click into a window, delivered exactly as QTest::sendKeyEvent(QTest::Click, ...) does
// for a QWindow (modifier keys pressed before and released after the key, the same event
// arguments, events processed after each), except that the key code stays an int: a client's
// code outside the range of Qt::Key (such as 0x7fffffff) must not be made a Qt::Key, which is
// undefined behaviour.
void SendKeyClick(QWindow *window, int key, const QString &text, Qt::KeyboardModifiers modifier)
{
    // QTest hands its delay (-1) on as the event's count; keep that.
    const auto send = [window](bool press, int code, Qt::KeyboardModifiers mods, const QString &keyText) {
        qt_handleKeyEvent(window, press ? QEvent::KeyPress : QEvent::KeyRelease, code, mods, keyText, false,
                          ushort(-1));
        qApp->processEvents();
    };
    const Qt::KeyboardModifiers shift = modifier & Qt::ShiftModifier;
    const Qt::KeyboardModifiers shiftControl = modifier & (Qt::ShiftModifier | Qt::ControlModifier);
    const Qt::KeyboardModifiers shiftControlAlt = modifier & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier);

    if (modifier & Qt::ShiftModifier)
        send(true, Qt::Key_Shift, Qt::KeyboardModifiers(), QString());
    if (modifier & Qt::ControlModifier)
        send(true, Qt::Key_Control, shift, QString());
    if (modifier & Qt::AltModifier)
        send(true, Qt::Key_Alt, shiftControl, QString());
    if (modifier & Qt::MetaModifier)
        send(true, Qt::Key_Meta, shiftControlAlt, QString());
    send(true, key, modifier, text);

    send(false, key, modifier, text);
    if (modifier & Qt::MetaModifier)
        send(false, Qt::Key_Meta, modifier, QString());
    if (modifier & Qt::AltModifier)
        send(false, Qt::Key_Alt, shiftControlAlt, QString());
    if (modifier & Qt::ControlModifier)
        send(false, Qt::Key_Control, shiftControl, QString());
    if (modifier & Qt::ShiftModifier)
        send(false, Qt::Key_Shift, shift, QString());
}

} // namespace

bool UIRemoteControl::DoClick(const ArgumentMap &args, bool doubleClick)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoClick");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoClick"), &window, &item))
        return false;
    const QString word = args.value(QStringLiteral("clickbtn")).toString().toLower();
    const bool usePoint = HasPoint(args);
    const QPoint point = usePoint ? ArgPoint(args, "x", "y") : QPoint();
    Qt::MouseButton button = Qt::LeftButton;
    if (word == QLatin1String("right"))
        button = Qt::RightButton;
    else if (word == QLatin1String("mid"))
        button = Qt::MiddleButton;
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    ClickItem(item, window, button, doubleClick, usePoint, point.x(), point.y(), modifiers);
    return true;
}

bool UIRemoteControl::DoHover(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoHover");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoHover"), &window, &item))
        return false;
    if (HasPoint(args)) {
        const QPoint point = ArgPoint(args, "x", "y");
        HoverOnPointInItem(item, window, point.x(), point.y());
    } else {
        HoverOnItemCenter(item, window);
    }
    return true;
}

bool UIRemoteControl::DoDrag(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoDrag");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoDrag"), &window, &item))
        return false;
    const bool fromTo = args.contains(QStringLiteral("from_x")) && args.contains(QStringLiteral("from_y")) &&
                        args.contains(QStringLiteral("to_x")) && args.contains(QStringLiteral("to_y"));
    if (fromTo)
        DragItem(item, window, ArgPoint(args, "from_x", "from_y"), ArgPoint(args, "to_x", "to_y"));
    else
        DragItemFromCenter(item, window, PointOrIntegerCentre(args, item));
    return true;
}

bool UIRemoteControl::DoDrop(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoDrop");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoDrop"), &window, &item))
        return false;
    const QPoint point = PointOrIntegerCentre(args, item);
    DropItem(item, window, point.x(), point.y());
    return true;
}

bool UIRemoteControl::DoPress(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoPress");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoPress"), &window, &item))
        return false;
    const QPoint point = PointOrIntegerCentre(args, item);
    PressItem(item, window, point.x(), point.y());
    return true;
}

// One key click through the Qt Test library, modifiers unchanged. The key's text is what
// QTest::keyToAscii() gives; codes it does not know (where it would abort) are sent without text.
bool UIRemoteControl::DoKeyClick(const ArgumentMap &args)
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    const int key = args.value(QStringLiteral("key")).toInt();
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    QWindow *window = FindQMLWindow(winName);
    if (!window) {
        RC_ERROR("%s, can not find window object %s", "UIRemoteControl::DoKeyClick", winName.toLocal8Bit().constData());
        return false;
    }
    const char ascii = KeyToAsciiKnows(key) ? QTest::keyToAscii(Qt::Key(key)) : char(0);
    SendKeyClick(window, key, ascii ? QString(QChar::fromLatin1(ascii)) : QString(), modifiers);
    return true;
}

// ---------------------------------------------------------------------------------------------
// Signal wait

bool UIRemoteControl::DoWaitSignal(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitSignal");
    const QString signal = args.value(QStringLiteral("signal")).toString();
    // A negative limit would leave the spy's event loop without a timer: a wait without end.
    const int timeout = qMax(0, args.value(QStringLiteral("timeout")).toInt());
    QObject *object = FindNamedQMLObject(args);
    if (!object && m_context) {
        const QString name = args.value(QStringLiteral("objname")).toString();
        if (!name.isEmpty())
            object = qvariant_cast<QObject *>(m_context->contextProperty(name));
    }
    if (!object)
        return false;
    // "2" marks a signal, as the SIGNAL() macro writes it.
    const QString transSignalName = QStringLiteral("2%1").arg(signal);
    const QByteArray signature = transSignalName.toLatin1();
    QSignalSpy spy(object, qFlagLocation(signature.constData()));
    RC_LOG(TraceLog::Trace, "%s, transSignalName = [%s]", "UIRemoteControl::DoWaitSignal",
           transSignalName.toLocal8Bit().constData());
    if (!spy.isValid()) {
        RC_ERROR("%s, the signal is not valid %s", "UIRemoteControl::DoWaitSignal",
                 transSignalName.toLocal8Bit().constData());
        return false;
    }
    return spy.wait(timeout);
}

// ---------------------------------------------------------------------------------------------
// Host tree models

namespace {

// The host hands tree models out as QObject pointers. A model object that is not an
// IKRVNTreeModel is treated as missing rather than called through a wrong type.
IKRVNTreeModel *AsTreeModel(QObject *object)
{
    return dynamic_cast<IKRVNTreeModel *>(object);
}

QObject *ToObject(const QVariant &value)
{
    return qobject_cast<QObject *>(qvariant_cast<QObject *>(value));
}

} // namespace

QObject *UIRemoteControl::GetModel(const QString &pluginName, const QString &methodName)
{
    RC_TRACE_SCOPE("UIRemoteControl::GetModel");
    if (pluginName.isEmpty() || methodName.isEmpty()) {
        RC_ERROR("%s, invalid message value", "UIRemoteControl::GetModel");
        return nullptr;
    }
    if (!m_context) {
        RC_ERROR("%s, QQmlContext is NULL", "UIRemoteControl::GetModel");
        return nullptr;
    }
    QObject *plugin = ToObject(m_context->contextProperty(pluginName));
    if (!plugin) {
        RC_ERROR("%s, can not find plugin %s", "UIRemoteControl::GetModel", pluginName.toLocal8Bit().constData());
        return nullptr;
    }
    QObject *model = nullptr;
    if (!QMetaObject::invokeMethod(plugin, methodName.toLatin1().constData(), Qt::DirectConnection,
                                   QGenericReturnArgument("QObject *", &model))) {
        RC_ERROR("%s, invoke plugin's method %s is failed", "UIRemoteControl::GetModel",
                 methodName.toLocal8Bit().constData());
        return nullptr;
    }
    return model;
}

QVariant UIRemoteControl::FindValueInModel(IKRVNTreeModel *model, QStringList rowPath, const QString &roleName)
{
    RC_TRACE_SCOPE("UIRemoteControl::FindValueInModel");
    if (rowPath.isEmpty()) {
        RC_ERROR("%s, invalid message value", "UIRemoteControl::FindValueInModel");
        return QVariant(false);
    }
    const int row = rowPath.takeFirst().toInt(nullptr, 10);
    if (!model) {
        RC_ERROR("%s, child model is NULL", "UIRemoteControl::FindValueInModel");
        return QVariant();
    }
    if (!rowPath.isEmpty()) {
        IKRVNTreeModel *child = AsTreeModel(ToObject(model->valueByRole(row, IKRVNTreeModel::ChildModelRole)));
        if (!child) {
            RC_ERROR("%s, child model is NULL", "UIRemoteControl::FindValueInModel");
            return QVariant();
        }
        return FindValueInModel(child, rowPath, roleName);
    }
    return model->valueByRoleName(row, roleName);
}

bool UIRemoteControl::DoGetModelValue(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoGetModelValue");
    const QStringList rowPath =
        args.value(QStringLiteral("mdlitemrowpth")).toString().split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    IKRVNTreeModel *model = AsTreeModel(GetModel(args.value(QStringLiteral("pluginname")).toString(),
                                                 args.value(QStringLiteral("method")).toString()));
    if (!model) {
        RC_ERROR("%s, get model failed", "UIRemoteControl::DoGetModelValue");
        return false;
    }
    value = FindValueInModel(model, rowPath, args.value(QStringLiteral("mdlitemrolename")).toString());
    if (!value.isValid()) {
        RC_ERROR("%s, get model item value failed", "UIRemoteControl::DoGetModelValue");
        return false;
    }
    return true;
}

bool UIRemoteControl::DoGetGroupModelValue(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoGetGroupModelValue");
    const QString groupName = args.value(QStringLiteral("grouprolename")).toString();
    const QStringList rowPath =
        args.value(QStringLiteral("mdlitemrowpth")).toString().split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    IKRVNTreeModel *model = AsTreeModel(GetModel(args.value(QStringLiteral("pluginname")).toString(),
                                                 args.value(QStringLiteral("method")).toString()));
    if (!model) {
        RC_ERROR("%s, get model failed", "UIRemoteControl::DoGetGroupModelValue");
        return false;
    }
    if (groupName.isEmpty()) {
        RC_ERROR("%s, invalid message value", "UIRemoteControl::DoGetGroupModelValue");
        return false;
    }
    // A null group model is reported by the value search as a missing model.
    value = FindValueInModel(model->groupModel(groupName, 0), rowPath,
                             args.value(QStringLiteral("mdlitemrolename")).toString());
    if (!value.isValid()) {
        RC_ERROR("%s, get model item value failed", "UIRemoteControl::DoGetGroupModelValue");
        return false;
    }
    return true;
}

bool UIRemoteControl::DoGetFilterModelValue(const ArgumentMap &, QVariant &)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoGetFilterModelValue");
    return false; // accepted but not supported: always fails
}

// ---------------------------------------------------------------------------------------------
// Host plugin bridge

QObject *UIRemoteControl::PluginObject(const QString &name) const
{
    return m_context ? ToObject(m_context->contextProperty(name)) : nullptr;
}

namespace {

// Invokes a member of a host plugin by name; logs a missing plugin and a failed call.
void CallPlugin(QObject *plugin, const char *caller, const QString &pluginName, const QString &method,
                QGenericArgument a0 = QGenericArgument(), QGenericArgument a1 = QGenericArgument(),
                QGenericArgument a2 = QGenericArgument())
{
    if (!plugin)
        RC_ERROR("%s, can not find plugin %s", caller, pluginName.toLocal8Bit().constData());
    if (!QMetaObject::invokeMethod(plugin, method.toLatin1().constData(), Qt::DirectConnection, a0, a1, a2))
        RC_ERROR("%s, invoke plugin's method %s is failed", caller, method.toLocal8Bit().constData());
}

const QString kJoystickPlugin = QStringLiteral("JoystickPlugin");

} // namespace

void UIRemoteControl::DoAddJoystick(const ArgumentMap &args)
{
    const QStringList devices = args.value(QStringLiteral("joystick_list")).toStringList();
    CallPlugin(PluginObject(kJoystickPlugin), "UIRemoteControl::DoAddJoystick", kJoystickPlugin,
               QStringLiteral("onDeviceChanged"), QGenericArgument("const QStringList &", &devices));
}

void UIRemoteControl::DoJoystickButtonEvent(const ArgumentMap &args)
{
    const QString model = args.value(QStringLiteral("model_name")).toString();
    const int keyId = args.value(QStringLiteral("key_id")).toInt();
    CallPlugin(PluginObject(kJoystickPlugin), "UIRemoteControl::DoJoystickButtonEvent", kJoystickPlugin,
               QStringLiteral("handleButtonEvent"), QGenericArgument("const QString &", &model),
               QGenericArgument("int", &keyId));
}

void UIRemoteControl::MoveJoystick(const ArgumentMap &args)
{
    const double x = args.value(QStringLiteral("pos_x")).toDouble();
    const double y = args.value(QStringLiteral("pos_y")).toDouble();
    const double z = args.value(QStringLiteral("pos_z")).toDouble();
    CallPlugin(PluginObject(kJoystickPlugin), "UIRemoteControl::MoveJoystick", kJoystickPlugin,
               QStringLiteral("axisChanged"), QGenericArgument("double", &x), QGenericArgument("double", &y),
               QGenericArgument("double", &z));
}

void UIRemoteControl::EmitPluginSignal(const ArgumentMap &args)
{
    const QString pluginName = args.value(QStringLiteral("pluginName")).toString();
    CallPlugin(PluginObject(pluginName), "UIRemoteControl::EmitPluginSignal", pluginName,
               args.value(QStringLiteral("signalName")).toString());
}
