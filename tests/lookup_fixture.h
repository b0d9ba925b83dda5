#pragma once
// Fixture shared by the lookup and property/method suites: the scene with its C++ backend
// object, a subclass that opens the protected lookup members, and small helpers for the
// recorded trace and for one request/reply round trip over TCP.

#include "RouteStack.h"
#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QByteArray>
#include <QEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QtTest>

// The protected lookup members, opened for direct calls.
class LookupProbe : public UIRemoteControl {
public:
    using UIRemoteControl::UIRemoteControl;
    using UIRemoteControl::DoInvokeRetMethod;
    using UIRemoteControl::FindNamedQMLObject;
    using UIRemoteControl::FindQMLObject;
    using UIRemoteControl::FindQMLObjectForFlickable;
    using UIRemoteControl::FindQMLObjectForRepeater;
    using UIRemoteControl::FindQMLWindow;
    using UIRemoteControl::FindUnnamedQMLObject;
    using UIRemoteControl::FindWindowAndQuickItem;
    using UIRemoteControl::GetObjectOrClassName;
    using UIRemoteControl::isDerivedFrom;
};

// A C++ object handed to the scene as the context property "backend". The scene reaches it
// through mainView.backendObject(); the fixture also parents it to the scene root under the
// name "backend", so a name path finds it too.
class LookupBackend : public QObject {
    Q_OBJECT
    Q_PROPERTY(int level READ level WRITE setLevel NOTIFY levelChanged)
    Q_PROPERTY(QString serial READ serial CONSTANT)
public:
    explicit LookupBackend(QObject *parent = nullptr) : QObject(parent) { setObjectName(QStringLiteral("backend")); }

    int level() const { return m_level; }
    void setLevel(int level)
    {
        if (level == m_level)
            return;
        m_level = level;
        emit levelChanged();
    }
    QString serial() const { return QStringLiteral("SN-1"); }

    Q_INVOKABLE QVariant echo(const QVariant &value)
    {
        ++echoCalls;
        return value;
    }
    Q_INVOKABLE void touch(const QVariant &value)
    {
        ++touchCalls;
        lastTouched = value;
    }
    Q_INVOKABLE int typed(int value)
    {
        ++typedCalls;
        return value;
    }

    int echoCalls = 0;
    int touchCalls = 0;
    int typedCalls = 0;
    QVariant lastTouched;

signals:
    void levelChanged();

private:
    int m_level = 0;
};

// The lookup scene, loaded with "backend" set before any binding runs.
struct LookupScene {
    explicit LookupScene(const QString &file = QStringLiteral("lookup_scene.qml"))
    {
        backend = new LookupBackend;
        engine.rootContext()->setContextProperty(QStringLiteral("backend"), backend);
        engine.load(QUrl::fromLocalFile(QStringLiteral(TEST_QML_DIR "/") + file));
        if (!engine.rootObjects().isEmpty())
            root = engine.rootObjects().first();
        window = qobject_cast<QQuickWindow *>(root);
        if (root)
            backend->setParent(root); // last child of the root: deleted with the scene
        else
            delete backend;
    }
    QQmlContext *context() const { return engine.rootContext(); }

    // The first object below the root with this name (QObject children only).
    template <typename T = QObject>
    T *Named(const QString &name) const
    {
        return root ? root->findChild<T *>(name) : nullptr;
    }

    QQmlApplicationEngine engine;
    QObject *root = nullptr;
    QQuickWindow *window = nullptr;
    LookupBackend *backend = nullptr;
};

// Counts the events of one type that reach an object.
class EventCounter : public QObject {
public:
    EventCounter(QObject *target, QEvent::Type type) : m_type(type) { target->installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == m_type)
            ++count;
        return false;
    }

private:
    QEvent::Type m_type;
};

namespace LookupLog {

// The label an object is listed under in routes and trace lines when it has no name.
inline QString ClassOf(const QObject *object) { return QString::fromLatin1(object->metaObject()->className()); }

// The address as the "pParent = [%X]" field of the search trace shows it.
inline QString AddressField(const QObject *object)
{
    return QString::number(static_cast<unsigned>(reinterpret_cast<quintptr>(object)), 16).toUpper();
}

// Recorded lines of the object search's own trace (severity 5, "UIRemoteControl::FindQMLObject").
inline QStringList SearchTrace()
{
    QStringList lines;
    for (const QString &line : TestSupport::LogTexts(5)) {
        if (line.startsWith(QLatin1String("UIRemoteControl::FindQMLObject, ")))
            lines.append(line);
    }
    return lines;
}

inline QString Snapshot(const QString &text) { return QStringLiteral("RouteStack::DumpSnapshots, ") + text; }

} // namespace LookupLog

namespace LookupWire {

// Parses a JSON text into the variant map that controlObject() takes.
inline QVariantMap Request(const char *json)
{
    return QJsonDocument::fromJson(QByteArray(json)).toVariant().toMap();
}

inline QJsonObject Reply(const char *json) { return QJsonDocument::fromJson(QByteArray(json)).object(); }

} // namespace LookupWire

// Sends one message on a connected client and waits until its reply has arrived. Void so the
// QTRY_ macros can return from it; callers check QTest::currentTestFailed().
inline void SendAndAwaitReply(TestSupport::ReplyClient &client, const QByteArray &message)
{
    const int before = client.replies.size();
    client.Send(message);
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), before + 1, 5000);
    QCOMPARE(client.malformed, 0);
}

// A listening control plus a client connected to it.
struct WireSession {
    WireSession(QObject *root, QQmlContext *context, QWindow *window)
        : control(root, context, TestSupport::FreePort(), window)
    {
        client.ConnectTo(control.ServerPort());
    }
    LookupProbe control;
    TestSupport::ReplyClient client;
};

// Opens a session and waits for the connection; use inside a test function.
#define LOOKUP_OPEN_SESSION(session)                                                    \
    QVERIFY(session.control.IsListening());                                             \
    QTRY_VERIFY_WITH_TIMEOUT(session.client.IsConnected(), 5000)

// One round trip; the reply is the last element of session.client.replies.
#define LOOKUP_ROUND_TRIP(session, json)                                                \
    do {                                                                                \
        SendAndAwaitReply(session.client, QByteArray(json));                            \
        if (QTest::currentTestFailed())                                                 \
            return;                                                                     \
    } while (0)
