// An ordinary Qt Quick application that knows nothing of the remote control: QML compiled into
// its resources, a C++ type registered with the engine, objects named only by their ids. The
// tests and the demo drive it through uiremote-launch.

#include "Stock.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    qmlRegisterType<Stock>("Inventory", 1, 0, "Stock");
    QQmlApplicationEngine engine;
    engine.load(QUrl(QStringLiteral("qrc:/inventory/main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    return app.exec();
}
