// Embedding example: any Qt Quick application becomes remotely controllable with three lines.
//
//   embed-example [port]     (default 34541)

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>

#include <UIRemoteControl.h>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QQmlApplicationEngine engine(QUrl(QStringLiteral("qrc:/main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;

    QObject *root = engine.rootObjects().first();
    const int port = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : UIRemoteControl::DEFAULT_PORT;
    UIRemoteControl remote(root, engine.rootContext(), port, qobject_cast<QQuickWindow *>(root));
    if (!remote.IsListening())
        return 2;
    return app.exec();
}
