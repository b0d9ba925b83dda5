// scene-lookup: the in-process cost of controls on a QML scene, for comparison with the round
// trip through the TCP server on the same scene.
//
// Loads a QML file as uiremote-host does (offscreen platform and software scene graph without a
// display), makes a UIRemoteControl without a port, reads "name<TAB>json request" lines from
// standard input (as "bench-client requests" prints them), and for each name times
// controlObject() with the parsed request: no socket, no JSON text, no event loop turn. Lines
// with the same name are used in turn. Prints "name<TAB>median microseconds<TAB>ok" per name.
//
// Usage: bench-client requests small | scene-lookup [--min-ms N] file.qml

#include <SceneTree.h>
#include <UIRemoteControl.h>

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char *argv[])
{
    SceneTree::PreferHeadless();
    QGuiApplication app(argc, argv);

    int minMs = 300;
    QString file;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--min-ms") && i + 1 < args.size())
            minMs = std::max(1, args[++i].toInt());
        else
            file = args[i];
    }
    if (file.isEmpty()) {
        std::fprintf(stderr, "usage: scene-lookup [--min-ms N] file.qml < requests\n");
        return 2;
    }

    QQmlApplicationEngine engine;
    engine.load(QUrl::fromUserInput(file, QDir::currentPath(), QUrl::AssumeLocalFile));
    if (engine.rootObjects().isEmpty()) {
        std::fprintf(stderr, "scene-lookup: could not load %s\n", qPrintable(file));
        return 1;
    }
    QObject *root = engine.rootObjects().first();
    QQuickWindow *window = SceneTree::WindowOfRoot(root);
    UIRemoteControl control(root, engine.rootContext(), window);
    QCoreApplication::processEvents(); // let the scene settle, as a served one has

    // Requests grouped by name, in input order.
    QStringList names;
    QMap<QString, QVariantList> requests;
    QTextStream in(stdin);
    while (!in.atEnd()) {
        const QString line = in.readLine();
        const int tab = line.indexOf(QLatin1Char('\t'));
        if (tab < 0)
            continue;
        QVariant request;
        if (!ParseJSON(line.mid(tab + 1), request)) {
            std::fprintf(stderr, "scene-lookup: bad request %s\n", qPrintable(line));
            return 1;
        }
        const QString name = line.left(tab);
        if (!names.contains(name))
            names.append(name);
        requests[name].append(request);
    }

    for (const QString &name : qAsConst(names)) {
        const QVariantList &variants = requests[name];
        std::vector<double> samples;
        bool ok = false;
        QElapsedTimer total;
        total.start();
        for (int turn = 0; (samples.size() < 5 || total.elapsed() < minMs) && samples.size() < 20000; ++turn) {
            QVariant value;
            QElapsedTimer one;
            one.start();
            ok = control.controlObject(variants.at(turn % variants.size()), value);
            samples.push_back(one.nsecsElapsed() / 1000.0);
        }
        std::sort(samples.begin(), samples.end());
        std::printf("%s\t%.2f\t%s\n", qPrintable(name), samples[samples.size() / 2], ok ? "true" : "false");
        std::fflush(stdout);
    }
    return 0;
}
