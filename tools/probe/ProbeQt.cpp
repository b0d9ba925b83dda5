// libUIRemoteProbePart.so (libUIRemoteProbeQt6Part.so in Qt 6 builds), the Qt part of the probe,
// loaded by the preloaded part once it knows the program runs a compatible Qt (at start, or when a
// program that loads Qt late has loaded Qt Quick). From the program's QCoreApplication
// constructor on (or at once, should the application exist already), it looks for the scene on
// the event loop (never blocking the program), then serves it with the remote control on the GUI
// thread.
//
// Environment: UIREMOTE_PORT (default 34541), UIREMOTE_LISTEN (default 127.0.0.1),
// UIREMOTE_NAME_FROM_IDS=1, UIREMOTE_ROOT (objectName or id of the root to serve),
// UIREMOTE_WAIT (seconds to wait for the scene, default 60).

#include <IdNames.h>
#include <SceneTree.h>
#include <UIRemoteControl.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QHostAddress>
#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QTcpServer>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {

const int kPollMs = 100;

void Say(const QString &line)
{
    std::fprintf(stderr, "uiremote: %s\n", qPrintable(line));
    std::fflush(stderr);
}

QString Env(const char *name, const QString &fallback = QString())
{
    const QString value = qEnvironmentVariable(name);
    return value.isEmpty() ? fallback : value;
}

// The remote control of the probe: extensions on, names from ids kept up to date (objects
// created since the last message are named before the next one).
class ProbeRemoteControl : public UIRemoteControl {
public:
    ProbeRemoteControl(QObject *root, QQmlContext *context, int port, QWindow *window, bool nameFromIds)
        : UIRemoteControl(root, context, port, window)
    {
        setExtensionsEnabled(true);
        if (nameFromIds) {
            IdNames::Enable(root);
            setBeforeEachControl(&IdNames::NameNewObjects);
        }
    }
    void Follow(QObject *root, QQmlContext *context, QWindow *window, bool nameFromIds)
    {
        if (nameFromIds)
            IdNames::Enable(root);
        ServeScene(root, context, window);
    }
};

// The object a window shows: a QQuickView's root item, a window written in QML itself, or the
// content item of a window built in C++. Null while there is nothing to serve yet.
QObject *RootOf(QQuickWindow *window)
{
    if (auto *view = qobject_cast<QQuickView *>(window))
        return view->rootObject();
    if (qmlContext(window))
        return qobject_cast<QQuickWindow *>(window->parent()) ? nullptr : window; // not a nested Window
    QQuickItem *content = window->contentItem();
    return content && !content->childItems().isEmpty() ? content : nullptr;
}

bool Matches(QObject *root, const QString &name)
{
    return name.isEmpty() || root->objectName() == name || SceneTree::QmlId(root) == name;
}

// The application the probe serves, so that it starts once per application.
QBasicAtomicPointer<QCoreApplication> g_probed = Q_BASIC_ATOMIC_INITIALIZER(nullptr);

class Probe : public QObject {
public:
    explicit Probe(QCoreApplication *app) : QObject(app), m_pid(getpid())
    {
        // The application may still be being constructed: look around once the event loop runs.
        QTimer::singleShot(0, this, [this] { Begin(); });
    }
    ~Probe() override { g_probed.testAndSetOrdered(static_cast<QCoreApplication *>(parent()), nullptr); }

private:
    void Begin()
    {
        if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
            Say(QStringLiteral("giving up: the program has no QGuiApplication, so no Qt Quick scene"));
            return;
        }
        bool ok = false;
        const int seconds = Env("UIREMOTE_WAIT").toInt(&ok);
        m_waitSeconds = ok && seconds > 0 ? seconds : 60;
        m_rootName = Env("UIREMOTE_ROOT");
        m_clock.start();
        connect(&m_poll, &QTimer::timeout, this, [this] { Poll(); });
        m_poll.start(kPollMs);
        Poll();
    }

    void Poll()
    {
        if (getpid() != m_pid) { // a child forked without exec: it serves nothing
            m_poll.stop();
            return;
        }
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            auto *quickWindow = qobject_cast<QQuickWindow *>(window);
            QObject *root = quickWindow ? RootOf(quickWindow) : nullptr;
            if (root && Matches(root, m_rootName)) {
                m_poll.stop();
                Serve(root, quickWindow);
                return;
            }
        }
        if (m_remote)
            return; // the next window may come at any time
        if (m_clock.elapsed() >= m_waitSeconds * 1000LL) {
            m_poll.stop();
            Say(m_rootName.isEmpty()
                    ? QStringLiteral("giving up: no Qt Quick window within %1 s").arg(m_waitSeconds)
                    : QStringLiteral("giving up: no Qt Quick root named %1 within %2 s").arg(m_rootName).arg(m_waitSeconds));
        }
    }

    void Serve(QObject *root, QQuickWindow *window)
    {
        Watch(root, window);
        QQmlEngine *engine = qmlEngine(root);
        const bool nameFromIds = Env("UIREMOTE_NAME_FROM_IDS") == QLatin1String("1");
        if (m_remote) { // the served window is gone: this one follows it
            m_remote->Follow(root, engine ? engine->rootContext() : nullptr, window, nameFromIds);
            const QString name = root->objectName().isEmpty() ? SceneTree::QmlId(root) : root->objectName();
            Say(QStringLiteral("the served window is gone; serving the next one (%1)")
                    .arg(name.isEmpty() ? QString::fromLatin1(root->metaObject()->className()) : name));
            return;
        }
        const QString address = Env("UIREMOTE_LISTEN", QStringLiteral("127.0.0.1"));
        if (address.trimmed().isEmpty()) { // never taken for "every address"
            Say(QStringLiteral("giving up: UIREMOTE_LISTEN is blank; set an address such as 127.0.0.1 or unset it"));
            return;
        }
        qputenv("UIREMOTE_LISTEN", address.toUtf8()); // the library listens there
        bool ok = false;
        int port = Env("UIREMOTE_PORT").toInt(&ok);
        if (!ok || port < 1 || port > 65535)
            port = UIRemoteControl::DEFAULT_PORT;
        auto *remote = new ProbeRemoteControl(root, engine ? engine->rootContext() : nullptr, port, window, nameFromIds);
        if (!remote->IsListening()) {
            delete remote;
            QTcpServer trial; // repeats the attempt for its reason
            trial.listen(QHostAddress(address), quint16(port));
            Say(QStringLiteral("giving up: cannot listen on %1:%2 (%3)").arg(address).arg(port).arg(trial.errorString()));
            return;
        }
        m_remote = remote;
        remote->setParent(this);
        // Closed before the application tears its windows down.
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { delete m_remote; });
        Say(QStringLiteral("listening on %1:%2").arg(address).arg(remote->ServerPort()));
    }

    // Once the served root or window is destroyed (a splash window that gives way to the main
    // one), the probe looks for the next Qt Quick window and serves it.
    void Watch(QObject *root, QQuickWindow *window)
    {
        for (const QMetaObject::Connection &connection : m_watched)
            disconnect(connection);
        m_watched.clear();
        for (QObject *object : {root, static_cast<QObject *>(window)}) {
            if (object)
                m_watched.append(connect(object, &QObject::destroyed, this, [this] { Lost(); }));
        }
    }
    void Lost()
    {
        for (const QMetaObject::Connection &connection : m_watched)
            disconnect(connection);
        m_watched.clear();
        if (m_remote && !m_poll.isActive())
            m_poll.start(kPollMs);
    }

    QList<QMetaObject::Connection> m_watched;
    const pid_t m_pid;
    int m_waitSeconds = 60;
    QString m_rootName;
    QElapsedTimer m_clock;
    QTimer m_poll;
    QPointer<ProbeRemoteControl> m_remote;
};

// The software scene graph on the offscreen platform unless the user chose a backend, as
// uiremote-host does. Decided in the application's constructor, before any window exists.
void PreferSoftwareWhenOffscreen()
{
    if (QGuiApplication::platformName() == QLatin1String("offscreen") && qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")
        && qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND") && qEnvironmentVariableIsEmpty("QMLSCENE_DEVICE"))
        qputenv("QT_QUICK_BACKEND", "software");
}

// Runs inside every QCoreApplication constructor of the program, or at once when the probe
// starts after the application (a program that loaded Qt late), maybe on another thread.
void OnApplication()
{
    QCoreApplication *app = QCoreApplication::instance();
    if (!app || g_probed.fetchAndStoreOrdered(app) == app) // one probe per application
        return;
    PreferSoftwareWhenOffscreen();
    if (app->thread() == QThread::currentThread()) {
        new Probe(app);
    } else { // the QML loader thread, say, loading the Qt Quick plugin
        QMetaObject::invokeMethod(app, [app] { new Probe(app); }, Qt::QueuedConnection);
    }
}

} // namespace

extern "C" Q_DECL_EXPORT void uiremote_probe_start()
{
    qAddPreRoutine(&OnApplication);
    if (QCoreApplication::instance())
        OnApplication();
}
