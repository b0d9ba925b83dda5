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
class ControlEngine;
class ServerAccess;

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
    void setExtensionsEnabled(bool enabled);
    bool extensionsEnabled() const;

    // Runs before each message is taken from the queue (after the previous reply was written):
    // tools name objects created meanwhile here. One hook; a new one replaces the old.
    void setBeforeEachControl(std::function<void()> hook) { m_beforeEachControl = std::move(hook); }

protected:
    // Serves another scene from the next control on (a program's next window once the first is
    // gone); clients stay connected and spies stay armed.
    void ServeScene(QObject *root, QQmlContext *context, QWindow *window);

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
    bool FindWindowAndQuickItem(const ArgumentMap &args, const QString &caller, QWindow **window,
                                QQuickItem **item) const;

    // Host tree models.
    QObject *GetModel(const QString &pluginName, const QString &methodName);
    QVariant FindValueInModel(IKRVNTreeModel *model, QStringList rowPath, const QString &roleName);

private slots:
    void HandleNewClientConnected();
    void ReleaseClient();
    void ReadDataFromClient();
    void ParseMessageAndDoControl();

private:
    friend class ControlEngine;
    friend class ControlTable;
    friend class ServerAccess;

    QObject *PluginObject(const QString &name) const;
    void AdoptClient(QTcpSocket *socket);

    bool m_busy = false;
    // Guarded: a client may delete any object it can name ("invoke" of deleteLater), the root
    // object and the default window included; searches then start from nothing instead of
    // from freed memory.
    QPointer<QObject> m_root;
    QPointer<QWindow> m_window;
    QQmlContext *m_context = nullptr;
    QTcpServer m_server;
    QList<QPair<QByteArray, QPointer<QTcpSocket>>> m_queue; // messages as received (UTF-8)
    QSet<QTcpSocket *> m_clients; // a set: every message asks whether its client is still here
    std::shared_ptr<MyTimer> m_timer;
    std::unique_ptr<ServerAccess> m_access; // who may connect, and how accepting goes
    std::unique_ptr<ControlEngine> m_engine; // extension mode and its controls
    std::function<void()> m_beforeEachControl;
};
