#pragma once
// UIRemoteControl: runs control messages against a live QML scene.
//
// Two entries lead to the same controls:
//  - UIRemoteControl(root, context, port, window) opens a TCP testing server. Clients send
//    JSON objects such as {"click": {"objname": "main.okButton", "winobjname": "mainWindow"}}
//    and get one indented JSON reply per message: {"result": true|false[, "value": ...]}.
//  - UIRemoteControl(root, context, window) opens no port; controlObject() runs a request
//    given as a variant map in-process (this is what the host plugin uses).
//
// Everything runs on the GUI thread. Messages from all clients share one queue and run strictly
// one at a time in arrival order.

#include "UIRemoteControlGlobal.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QTcpServer>
#include <QVariant>

#include <functional>
#include <memory>

class QQmlContext;
class QPointF;
class QQuickItem;
class QTcpSocket;
class QWindow;
class RouteStack;
class IKRVNTreeModel;

// The parameters of one control: key -> value, sorted by key.
using ArgumentMap = QMap<QString, QVariant>;

// One request reduced to what dispatch needs.
struct UIREMOTECONTROL_EXPORT ParsedMessageInfo {
    QString controlType;   // one of ControlTypeWords(), or empty
    ArgumentMap args;      // the control key's object
    qint32 delay = 0;      // milliseconds before the control runs; < 1 means now

    void Reset() { *this = ParsedMessageInfo(); }
};

// The 20 control-type words, matched case-sensitively.
UIREMOTECONTROL_EXPORT const QStringList &ControlTypeWords();

// Parses UTF-8 JSON text into a variant. False for null/empty text or a null/empty document.
UIREMOTECONTROL_EXPORT bool ParseJSON(const QString &text, QVariant &result);

// Serialises a variant as indented JSON (four spaces, closing newline). False for an invalid
// variant or one that makes an empty document.
UIREMOTECONTROL_EXPORT bool SerializeJSON(const QVariant &value, QString &text);

// Fills info from a request variant (info should be Reset() first). Keys are visited in sorted
// order: a control-type word sets type and arguments, any other key whose value converts to a
// positive integer sets the delay; later keys overwrite earlier ones. So a stray top-level key
// such as "timeout": 3000 delays the control as "delay" would.
UIREMOTECONTROL_EXPORT void ExtractParsedMessageInfo(const QVariant &request, ParsedMessageInfo &info);

// Runs delayed controls: each started timer fires once and calls its callable.
class UIREMOTECONTROL_EXPORT MyTimer : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    int Start(int msec, std::function<void()> callable);
    int PendingCount() const { return m_callables.size(); }

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    QMap<int, std::function<void()>> m_callables;
};

class UIREMOTECONTROL_EXPORT UIRemoteControl : public QObject {
    Q_OBJECT
public:
    static const int DEFAULT_PORT = 34541;

    // Starts the testing server on port (1..65535; anything else means DEFAULT_PORT), on all
    // addresses, or on the one UIREMOTE_LISTEN names. If listening fails the object still serves
    // controlObject(), without delays. With UIREMOTE_TOKEN set, each connection must first send
    // {"auth": {"token": "<the token>"}} (see ServerAccess.cpp).
    UIRemoteControl(QObject *root, QQmlContext *context, int port, QWindow *window);
    // Opens no port: only controlObject() reaches this object.
    UIRemoteControl(QObject *root, QQmlContext *context, QWindow *window);
    ~UIRemoteControl() override;

    // Runs one request in-process ({"getpro": {...}} as a variant map); no delay, no reply.
    bool controlObject(const QVariant &request, QVariant &retValue);

    bool IsListening() const { return m_server.isListening(); }
    quint16 ServerPort() const { return m_server.serverPort(); }

    // Extension mode: control words beyond the twenty and a reason ("error") in false replies.
    // Off by default, or on when the environment has UIREMOTE_EXTENSIONS=1; off, replies and log
    // lines are exactly those of the twenty controls.
    void setExtensionsEnabled(bool enabled) { m_extensions = enabled; }
    bool extensionsEnabled() const { return m_extensions; }

protected:
    // Control handlers, one per control type; a subclass may replace any of them.
    virtual bool DoInvokeMethod(const ArgumentMap &args);
    virtual bool DoInvokeRetMethod(const ArgumentMap &args, QVariant &value) const;
    virtual bool DoGetProperty(const ArgumentMap &args, QVariant &value);
    virtual bool DoSetProperty(const ArgumentMap &args);
    virtual bool DoClick(const ArgumentMap &args, bool doubleClick);
    virtual bool DoHover(const ArgumentMap &args);
    virtual bool DoDrag(const ArgumentMap &args);
    virtual bool DoDrop(const ArgumentMap &args);
    virtual bool DoPress(const ArgumentMap &args);
    virtual bool DoKeyClick(const ArgumentMap &args);
    virtual bool DoWaitSignal(const ArgumentMap &args);
    virtual bool DoGetModelValue(const ArgumentMap &args, QVariant &value);
    virtual bool DoGetGroupModelValue(const ArgumentMap &args, QVariant &value);
    virtual bool DoGetFilterModelValue(const ArgumentMap &args, QVariant &value);
    virtual bool DoGetWindowName(const ArgumentMap &args, QVariant &value);
    virtual void DoJoystickButtonEvent(const ArgumentMap &args);
    virtual void DoAddJoystick(const ArgumentMap &args);
    virtual void ResponseToClient(QTcpSocket *socket, bool success, const QVariant &value);
    virtual void PickNextControl();

    void EmitPluginSignal(const ArgumentMap &args);
    void MoveJoystick(const ArgumentMap &args);

    // Extension mode: the word's handler, when the request names an extension word; and the
    // reason a failing control gives (the first one set while it runs counts).
    using ExtensionHandler = bool (UIRemoteControl::*)(const ArgumentMap &args, QVariant &value);
    static ExtensionHandler FindExtension(const QString &word);
    void ExtractExtensionWord(const QVariant &request, ParsedMessageInfo &info) const;
    void SetFailureReason(const QString &reason) const;
    // The failure of an action whose own events destroyed its item or its window before its last
    // event (the rest of its events were not sent): one log line, the reason, false.
    bool ActionInterrupted(const char *function, const ArgumentMap &args, bool windowGone) const;
    // False, with one log line and the reason, for a value nested deeper than a reply or a
    // property write may take (Limits::kMaxNesting); checked before the value is converted.
    bool CheckNesting(const QVariant &value, const char *function) const;

    // Typing, gestures and actionability (TextInput.cpp, Gestures.cpp, Actionability.cpp). The
    // target of a new pointer word is resolved by ResolveActionTarget: the item, and the named
    // window (which must exist) or else the item's own. CheckActionable tells whether a person
    // could act on the item at a scene point with a button (Qt::NoButton: hover or wheel); only
    // when WantsActionable do the twenty pointer controls ask it.
    bool DoTypeText(const ArgumentMap &args, QVariant &value);
    bool DoWheel(const ArgumentMap &args, QVariant &value);
    bool DoSwipe(const ArgumentMap &args, QVariant &value);
    bool ResolveActionTarget(const ArgumentMap &args, QWindow **window, QQuickItem **item) const;
    bool WantsActionable(const ArgumentMap &args) const;
    bool CheckActionable(const ArgumentMap &args, QQuickItem *item, QWindow *window, const QPointF &scenePoint,
                         Qt::MouseButton button, bool hitTest = true) const;

    // Signal spies and waits that do not poll (SignalSpies.cpp, Waits.cpp). Spies live until this
    // object is destroyed.
    bool DoSpy(const ArgumentMap &args, QVariant &value);
    bool DoSpyCount(const ArgumentMap &args, QVariant &value);
    bool DoWaitSpy(const ArgumentMap &args, QVariant &value);
    bool DoWaitProp(const ArgumentMap &args, QVariant &value);
    bool DoWaitIdle(const ArgumentMap &args, QVariant &value);
    QObject *FindWaitTarget(const ArgumentMap &args) const;
    // Access to the server: the address to listen on (false when UIREMOTE_LISTEN is not an
    // address), and the token check of a connection's first message.
    static bool ListenAddress(QHostAddress &address);
    bool Authenticate(QTcpSocket *socket, int first);

    // Dispatch.
    void DoControl(const ParsedMessageInfo &info, QPointer<QTcpSocket> socket);
    bool Action(const ParsedMessageInfo &info, QVariant &value);
    void ReadMessage(QTcpSocket *socket);

    // Object path search: depth first, pre-order, first match wins.
    QObject *FindQMLObject(QObject *parent, QStringList names, RouteStack *route) const;
    QObject *FindQMLObjectForRepeater(const QObject *repeater, const QStringList &names, RouteStack *route) const;
    QObject *FindQMLObjectForFlickable(const QObject *flickable, const QStringList &names, RouteStack *route) const;
    static bool isDerivedFrom(const QObject *object, const QStringList &classNames);
    static QString GetObjectOrClassName(const QObject *object);

    // Resolution of a message's naming keys.
    QObject *FindQMLObject(const ArgumentMap &args) const;
    QObject *FindNamedQMLObject(const ArgumentMap &args) const;
    QObject *FindUnnamedQMLObject(const ArgumentMap &args) const;
    QWindow *FindQMLWindow(const QString &name) const;
    // The window of that name, or a nameless window (a QQuickView) whose root item has it; no
    // fallback to the default window. Extension controls use it so that a made-up name fails.
    static QWindow *WindowNamed(const QString &name);
    bool FindWindowAndQuickItem(const ArgumentMap &args, const QString &caller, QWindow **window,
                                QQuickItem **item) const;

    // Selectors, the live tree, "find", screenshots and the reasons of failed searches
    // (extension mode).
    bool DoTree(const ArgumentMap &args, QVariant &value);
    bool DoFind(const ArgumentMap &args, QVariant &value);
    bool DoScreenshot(const ArgumentMap &args, QVariant &value);
    static QString ArgumentsPath(const ArgumentMap &args); // parobjname.objname
    QString NoMatchReason(const QString &path) const;
    // A property or return value as a reply holds it: objects become {"type": ..., "path": ...}.
    QVariant ReplyValue(const QVariant &value) const;
    // Property access and calls with attached and dotted properties and typed parameters.
    bool ReadPropertyExtended(QObject *object, const ArgumentMap &args, QVariant &value);
    bool WritePropertyExtended(QObject *object, const ArgumentMap &args);
    bool InvokeTyped(QObject *object, const ArgumentMap &args, QVariant *value) const;

    // Host tree models.
    QObject *GetModel(const QString &pluginName, const QString &methodName);
    QVariant FindValueInModel(IKRVNTreeModel *model, QStringList rowPath, const QString &roleName);

private slots:
    void HandleNewClientConnected();
    void HandleAcceptError(QAbstractSocket::SocketError error);
    void ReleaseClient();
    void ReadDataFromClient();
    void ParseMessageAndDoControl();

private:
    QObject *PluginObject(const QString &name) const;
    void AdoptClient(QTcpSocket *socket);
    void ReportAcceptFailure(const QString &reason);

    struct SpyTable;
    std::shared_ptr<SpyTable> m_spies;

    bool m_busy = false;
    bool m_extensions = qEnvironmentVariableIntValue("UIREMOTE_EXTENSIONS") == 1;
    mutable QString m_failureReason;
    // Guarded: a client may delete any object it can name ("invoke" of deleteLater), the root
    // object and the default window included; searches then start from nothing instead of
    // from freed memory.
    QPointer<QObject> m_root;
    QPointer<QWindow> m_window;
    QQmlContext *m_context = nullptr;
    QTcpServer m_server;
    QList<QPair<QByteArray, QPointer<QTcpSocket>>> m_queue; // messages as received (UTF-8)
    QSet<QTcpSocket *> m_clients; // a set: every message asks whether its client is still here
    bool m_acceptFailing = false;  // accepting failed and has not succeeded since
    QObject *m_acceptor = nullptr; // accepts the server's connections where it can (ClientAcceptor.h)
    std::shared_ptr<MyTimer> m_timer;
    const QString m_token = qEnvironmentVariable("UIREMOTE_TOKEN");
    QSet<QTcpSocket *> m_authenticated; // connections that gave the token (when one is set)
};
