// nesting_bench: a failed lookup, a found one and "tree" on 20 levels of nested repeaters against
// a flat scene of about as many objects, in-process. Prints the median times, the objects and the
// visits per request; the nested scene should cost about what the flat one does.
//
// Usage: nesting_bench [levels]   (default 20)

#include "../tests/support/NestedScene.h"

#include <SceneTree.h>
#include <SearchOrder.h>
#include <UIRemoteControl.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

void Measure(const char *label, const QByteArray &qml)
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(qml, QUrl(QStringLiteral("file:///bench.qml")));
    QScopedPointer<QObject> root(component.create());
    if (!root) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        std::exit(1);
    }
    int objects = 0;
    SceneTree::Walk(root.data(), [&objects](QObject *, int) { return ++objects > 0; });
    UIRemoteControl remote(root.data(), engine.rootContext(), nullptr);
    remote.setExtensionsEnabled(true);
    const std::pair<const char *, QVariantMap> requests[] = {
        {"failed lookup", {{"getpro", QVariantMap{{"objname", "nowhere"}, {"property", "x"}}}}},
        {"found lookup", {{"getpro", QVariantMap{{"objname", "top.leaf"}, {"property", "x"}}}}},
        {"tree", {{"tree", QVariantMap{}}}},
    };
    for (const auto &request : requests) {
        std::vector<double> times;
        quint64 visits = 0;
        for (int round = 0; round < 5; ++round) {
            QVariant value;
            const quint64 before = SearchOrder::Visits();
            QElapsedTimer clock;
            clock.start();
            remote.controlObject(request.second, value);
            times.push_back(clock.nsecsElapsed() / 1e6);
            visits = SearchOrder::Visits() - before;
        }
        std::sort(times.begin(), times.end());
        std::printf("%-8s %-14s objects %5d  visits %7llu  median %8.3f ms\n", label, request.first, objects,
                    static_cast<unsigned long long>(visits), times[times.size() / 2]);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    SceneTree::PreferHeadless();
    QGuiApplication app(argc, argv);
    const int levels = argc > 1 ? std::atoi(argv[1]) : 20;
    Measure("nested", NestedScene::Nested(levels));
    // About as many objects: each level adds five (item, repeater, delegate, rectangle, and the
    // delegate model the repeater holds).
    Measure("flat", NestedScene::Flat(levels * 5));
    return 0;
}
