// Per-message cost of names from ids on a scene of 10,000 objects, as a ratio to the same request
// without the option. Each message is what the server does per control: the naming step of the
// mode, then the control (controlObject(), in-process: no socket, no JSON text).
//
//   off    no naming (the request finds its target by objectName)
//   walk   every object visited before each message (what uiremote-host did before IdNames)
//   hooks  IdNames::NameNewObjects(): only the objects created since the last message
//
// Usage: ids-bench [--objects N] [--messages M]; prints one table.

#include <IdNames.h>
#include <SceneTree.h>
#include <UIRemoteControl.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QVector>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>

namespace {

QByteArray Scene(int cells)
{
    return QByteArray("import QtQuick 2.15\n"
                      "Item { id: top; objectName: \"top\"\n"
                      "  Item { id: near; objectName: \"near\"; property int value: 1 }\n"
                      "  Item { id: cells\n"
                      "    Repeater { model: ") + QByteArray::number(cells) + " ; Item { id: cell } } }\n"
                      "  Item { id: far; objectName: \"far\"; property int value: 2 }\n"
                      "}\n";
}

QVariantMap GetValue(const QString &path)
{
    return {{QStringLiteral("getpro"), QVariantMap{{QStringLiteral("objname"), path}, {QStringLiteral("property"), QStringLiteral("value")}}}};
}

double Median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    int cells = 10000 - 5, messages = 300;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (qstrcmp(argv[i], "--objects") == 0)
            cells = qMax(1, atoi(argv[i + 1]) - 5);
        else if (qstrcmp(argv[i], "--messages") == 0)
            messages = qMax(10, atoi(argv[i + 1]));
    }

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(Scene(cells), QUrl(QStringLiteral("file:///ids-bench/scene.qml")));
    std::unique_ptr<QObject> root(component.create());
    if (!root) {
        std::fprintf(stderr, "ids-bench: %s\n", qPrintable(component.errorString()));
        return 1;
    }
    int objects = 0;
    SceneTree::Walk(root.get(), [&](QObject *, int) { return ++objects, true; });
    UIRemoteControl remote(root.get(), engine.rootContext(), nullptr);
    IdNames::Enable(root.get());

    struct Mode { const char *name; std::function<void()> naming; };
    const Mode modes[] = {
        {"off", [] {}},
        {"hooks", [] { IdNames::NameNewObjects(); }},
        {"walk", [&] { SceneTree::NameFromIds(root.get()); }},
    };
    std::printf("objects in the scene: %d; %d messages per cell, median per message\n", objects, messages);
    std::printf("%-8s %-6s %12s %10s\n", "target", "mode", "us/message", "x off");
    for (const char *target : {"near", "far"}) {
        const QVariantMap request = GetValue(QString::fromLatin1(target));
        QVector<double> samples[3];
        // Blocks of ten alternate between the modes, so changes in machine load hit all alike; the
        // walk comes last, so that the caches it churns are warm again for "off" and "hooks".
        for (int done = 0; done < messages; done += 10) {
            for (int m = 0; m < 3; ++m) {
                for (int i = 0; i < 10; ++i) {
                    QElapsedTimer clock;
                    clock.start();
                    modes[m].naming();
                    QVariant value;
                    if (!remote.controlObject(request, value) || !value.isValid()) {
                        std::fprintf(stderr, "ids-bench: the %s request failed\n", target);
                        return 1;
                    }
                    samples[m].append(clock.nsecsElapsed() / 1000.0);
                }
            }
        }
        const double off = Median(samples[0]);
        for (int m = 0; m < 3; ++m)
            std::printf("%-8s %-6s %12.1f %10.2f\n", target, modes[m].name, Median(samples[m]), Median(samples[m]) / off);
    }
    return 0;
}
