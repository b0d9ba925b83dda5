// demo-app: uiremote-host with the demo's host plugins published as context properties.
//
//   demo-app [--port N] [--screenshot FILE] ... (the options of uiremote-host; the QML file
//   defaults to the built-in demo scene)

#include "DemoPlugins.h"
#include "Host.h"

#include <QQmlContext>

#include <vector>

int main(int argc, char *argv[])
{
    std::vector<char *> args(argv, argv + argc);
    bool hasFile = false;
    for (int i = 1; i < argc; ++i)
        hasFile = hasFile || QByteArray(argv[i]).endsWith(".qml");
    char scene[] = "qrc:/demo.qml";
    if (!hasFile)
        args.push_back(scene);
    int count = int(args.size());
    return RunHost(count, args.data(), [](QQmlApplicationEngine &engine) {
        engine.rootContext()->setContextProperty(QStringLiteral("DevicePlugin"), new DevicePlugin(&engine));
        engine.rootContext()->setContextProperty(QStringLiteral("JoystickPlugin"), new JoystickPlugin(&engine));
        engine.rootContext()->setContextProperty(QStringLiteral("AlarmPlugin"), new AlarmPlugin(&engine));
    });
}
