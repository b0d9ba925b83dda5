// uiremote-host: loads a QML file and serves its scene with the remote control (Host.h).

#include "Host.h"

#include <LiveTree.h>
#include <IdNames.h>
#include <SceneTree.h>
#include <UIRemoteControl.h>

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QSocketNotifier>
#include <QTextStream>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void OnQuitSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] ssize_t written = ::write(g_signalPipe[1], &byte, 1);
}

// One node of the live tree and its children, indented by depth.
void PrintNode(QTextStream &out, const QVariantMap &node, int depth)
{
    const QVariant path = node.value(QStringLiteral("path"));
    out << QString(depth * 2, QLatin1Char(' ')) << node.value(QStringLiteral("label")).toString() << "  ["
        << node.value(QStringLiteral("type")).toString() << "]  "
        << (path.toString().isEmpty() ? QStringLiteral("-") : path.toString()) << '\n';
    for (const QVariant &child : node.value(QStringLiteral("children")).toList())
        PrintNode(out, child.toMap(), depth + 1);
}

// The remote control, with the host's extras: ids as names (objects created since the last
// message are named before the next one), and the tree dump. The root is guarded: a client may
// delete it ("invoke" of deleteLater) like any object it can name.
class HostRemoteControl : public UIRemoteControl {
public:
    HostRemoteControl(QObject *root, QQmlContext *context, int port, QWindow *window, bool nameFromIds)
        : UIRemoteControl(root, context, port, window), m_root(root), m_nameFromIds(nameFromIds)
    {
        if (m_nameFromIds) {
            IdNames::Enable(m_root);
            // Delegates created since the last message get their names too.
            setBeforeEachControl(&IdNames::NameNewObjects);
        }
    }

    // Prints the tree that the "tree" control replies: one line per object with its label, type
    // and the path that finds it ("-" when none does).
    void DumpTree(QTextStream &out)
    {
        if (m_root)
            PrintNode(out, LiveTree::Build(m_root, m_root), 0);
    }

private:
    QPointer<QObject> m_root;
    bool m_nameFromIds;
};

// The window's image, taken while the scene is still rendering. A client may have destroyed the
// window meanwhile; there is no image then.
bool SaveScreenshot(QQuickWindow *window, const QString &file)
{
    const QImage image = SceneTree::Grab(window);
    if (image.isNull() || !image.save(file)) {
        std::fprintf(stderr, "uiremote-host: could not save %s (%s)\n", qPrintable(file),
                     !window ? "the window is gone" : image.isNull() ? "no image" : "write failed");
        return false;
    }
    return true;
}

} // namespace

int RunHost(int argc, char *argv[], const std::function<void(QQmlApplicationEngine &)> &prepare)
{
    SceneTree::PreferHeadless();

    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("uiremote-host"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Serves a QML file through the UI remote control."));
    parser.addHelpOption();
    QCommandLineOption portOption(QStringLiteral("port"), QStringLiteral("TCP port (default 34541)."),
                                  QStringLiteral("N"), QString::number(UIRemoteControl::DEFAULT_PORT));
    QCommandLineOption listenOption(QStringLiteral("listen"),
                                    QStringLiteral("Address to listen on (default 127.0.0.1; 0.0.0.0 or :: for all)."),
                                    QStringLiteral("ADDRESS"), QStringLiteral("127.0.0.1"));
    QCommandLineOption idsOption(QStringLiteral("name-from-ids"),
                                 QStringLiteral("Give objects without objectName their QML id as name."));
    QCommandLineOption dumpOption(QStringLiteral("dump-tree"),
                                  QStringLiteral("Print the object tree with labels, classes and paths."));
    QCommandLineOption shotOption(QStringLiteral("screenshot"), QStringLiteral("Save the window's image at exit."),
                                  QStringLiteral("FILE"));
    QCommandLineOption importOption(QStringLiteral("import"), QStringLiteral("Add a QML import path."),
                                    QStringLiteral("PATH"));
    parser.addOptions({portOption, listenOption, idsOption, dumpOption, shotOption, importOption});
    parser.addPositionalArgument(QStringLiteral("file.qml"), QStringLiteral("The QML file to load."));
    parser.process(app);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);

    // A blank address would read as none, which the library takes for every address.
    if (parser.value(listenOption).trimmed().isEmpty()) {
        std::fprintf(stderr, "uiremote-host: --listen is blank: give an address such as 127.0.0.1\n");
        return 2;
    }

    QQmlApplicationEngine engine;
    for (const QString &path : parser.values(importOption))
        engine.addImportPath(path);
    if (prepare)
        prepare(engine);
    engine.load(QUrl::fromUserInput(parser.positionalArguments().first(), QDir::currentPath(), QUrl::AssumeLocalFile));
    if (engine.rootObjects().isEmpty()) {
        std::fprintf(stderr, "uiremote-host: could not load %s\n", qPrintable(parser.positionalArguments().first()));
        return 1;
    }
    QObject *root = engine.rootObjects().first();
    // Guarded: clients can destroy the window (and the root) before the host quits.
    const QPointer<QQuickWindow> window = SceneTree::WindowOfRoot(root);

    bool portOk = false;
    const int port = parser.value(portOption).toInt(&portOk);
    qputenv("UIREMOTE_LISTEN", parser.value(listenOption).toUtf8()); // the library listens there
    HostRemoteControl remote(root, engine.rootContext(), portOk ? port : -1, window, parser.isSet(idsOption));
    remote.setExtensionsEnabled(true);
    if (qgetenv("UIREMOTE_EXTENSIONS") == "0")
        remote.setExtensionsEnabled(false); // the twenty controls' replies only, byte for byte
    if (!remote.IsListening()) {
        std::fprintf(stderr, "uiremote-host: cannot listen on %s port %s\n", qPrintable(parser.value(listenOption)),
                     qPrintable(parser.value(portOption)));
        return 1;
    }
    if (parser.isSet(dumpOption)) {
        QTextStream out(stdout);
        remote.DumpTree(out);
    }

    bool shotFailed = false;
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) == 0) {
        auto *notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, [&] {
            // The image is taken while the event loop still runs the scene.
            if (parser.isSet(shotOption) && !SaveScreenshot(window, parser.value(shotOption)))
                shotFailed = true;
            QCoreApplication::quit();
        });
        std::signal(SIGINT, OnQuitSignal);
        std::signal(SIGTERM, OnQuitSignal);
    }

    std::printf("uiremote-host: listening on %d\n", remote.ServerPort());
    std::fflush(stdout);
    const int status = app.exec();
    if (shotFailed)
        return 1;
    return status;
}
