// tree_bench: the cost of the live tree ("tree": LiveTree::Build, paths included) on a scene of
// about 10,000 items, as a ratio to a bare walk over QObject::children() of the same scene.
//
// The scene is built in C++ (columns of unnamed rectangles and texts, every tenth column named),
// so most objects get selector paths, the expensive case. Prints the median times and the ratio.
//
// Usage: tree_bench [objects]   (default 10000)

#include <LiveTree.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickItem>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

int BareWalk(QObject *object)
{
    int count = 1;
    for (QObject *child : object->children())
        count += BareWalk(child);
    return count;
}

double MedianMs(const std::function<void()> &run, int rounds)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        run();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int wanted = argc > 1 ? std::max(100, atoi(argv[1])) : 10000;

    QQuickItem root;
    root.setObjectName(QStringLiteral("root"));
    int made = 1;
    for (int column = 0; made < wanted; ++column) {
        auto *group = new QQuickItem(&root);
        group->setParentItem(&root);
        if (column % 10 == 0)
            group->setObjectName(QStringLiteral("column%1").arg(column));
        ++made;
        for (int i = 0; i < 49 && made < wanted; ++i, ++made) {
            auto *item = new QQuickItem(group);
            item->setParentItem(group);
        }
    }

    int bareCount = 0;
    const double bare = MedianMs([&] { bareCount = BareWalk(&root); }, 21);
    int nodes = 0;
    const double tree = MedianMs([&] { nodes = LiveTree::Build(&root, &root).size(); }, 5);
    std::printf("objects\t%d\n", bareCount);
    std::printf("bare children() walk\t%.3f ms\n", bare);
    std::printf("tree (LiveTree::Build)\t%.3f ms\n", tree);
    std::printf("ratio\t%.0f\n", tree / std::max(bare, 1e-6));
    return nodes > 0 ? 0 : 1;
}
