// Programs the probe meets in the wild, one per mode, for the probe's end-to-end tests:
//   core  - a QCoreApplication only
//   gui   - a QGuiApplication that never shows a Qt Quick window
//   view  - a QQuickView whose scene is loaded only after one turn of the event loop
//   fork  - a Qt Quick window; the program starts a child by fork and exec, and one by fork alone
//   splash - a splash window first; a tap on it destroys it and shows the main window (view's scene)
// Each quits by itself after 60 seconds, should a test leave it running.

#include <QCoreApplication>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char kScene[] =
    "import QtQuick 2.15\n"
    "Rectangle { id: top; width: 200; height: 100\n"
    "  property int taps: 0\n"
    "  MouseArea { id: tapArea; anchors.fill: parent; onClicked: top.taps++ } }\n";

void ShowScene(QQuickView &view)
{
    QQmlComponent component(view.engine());
    component.setData(kScene, QUrl(QStringLiteral("file:///probe-target/scene.qml")));
    if (!component.isReady())
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
    view.setContent(QUrl(), &component, component.create());
    view.show();
}

const char kSplash[] =
    "import QtQuick 2.15\n"
    "Rectangle { id: splash; objectName: 'splash'; width: 120; height: 60\n"
    "  signal done()\n"
    "  MouseArea { id: splashArea; anchors.fill: parent; onClicked: splash.done() } }\n";

// The splash window, and after a tap on it, once it is destroyed, the main window.
void ShowSplash(std::unique_ptr<QQuickView> &view)
{
    auto *splash = new QQuickView;
    QQmlComponent component(splash->engine());
    component.setData(kSplash, QUrl(QStringLiteral("file:///probe-target/splash.qml")));
    splash->setContent(QUrl(), &component, component.create());
    QObject::connect(splash->rootObject(), SIGNAL(done()), splash, SLOT(deleteLater()));
    QObject::connect(splash, &QObject::destroyed, [&view] {
        view.reset(new QQuickView);
        ShowScene(*view);
    });
    splash->show();
}

// A child by fork and exec: it prints the preload it inherited. Another by fork alone: it runs
// on for a moment with the parent's whole image, probe included, and leaves.
void StartChildren()
{
    std::fflush(stdout);
    if (fork() == 0) {
        execlp("sh", "sh", "-c", "echo \"child LD_PRELOAD=[$LD_PRELOAD]\"", static_cast<char *>(nullptr));
        _exit(127);
    }
    if (fork() == 0) {
        usleep(300 * 1000);
        std::printf("forked child done\n");
        std::fflush(stdout);
        _exit(0);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const char *mode = argc > 1 ? argv[1] : "view";
    std::unique_ptr<QCoreApplication> app;
    if (std::strcmp(mode, "core") == 0)
        app.reset(new QCoreApplication(argc, argv));
    else
        app.reset(new QGuiApplication(argc, argv));
    QTimer::singleShot(60 * 1000, app.get(), &QCoreApplication::quit);

    std::unique_ptr<QQuickView> view;
    if (std::strcmp(mode, "view") == 0) {
        view.reset(new QQuickView);
        QTimer::singleShot(0, view.get(), [&view] { ShowScene(*view); });
    } else if (std::strcmp(mode, "splash") == 0) {
        ShowSplash(view);
    } else if (std::strcmp(mode, "fork") == 0) {
        view.reset(new QQuickView);
        ShowScene(*view);
        QTimer::singleShot(0, &StartChildren);
    }
    const int status = app->exec();
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    return status;
}
