// Name path lookup versus QObject::findChild on the same object trees.
//
// For trees of 1,000, 10,000 and 100,000 plain QObjects in three shapes it times resolving the
// LAST object of the tree
//   - with QObject::findChild(name) (recursive),
//   - with the remote control's path search FindQMLObject(root, names, route),
//   - with a full in-process "getpro" of that object's objectName through controlObject(),
// and prints the time per lookup and the ratio to findChild.
//
// Shapes (object names are unique: "o0", "o1", ... in creation order, root is "o0"):
//   wide      all objects are direct children of the root; path "o0.o<last>"
//   deep      a single chain; path "o0.o<last>" (the search passes through every level)
//   balanced  ten children per object, created depth first; the last object is the deepest,
//             rightmost one; path lists every ancestor ("o0.o<a>.o<b>...")
//
// Usage: lookup_bench [minimum milliseconds per measurement, default 300]
//
// Everything runs on a thread with a large stack: both searches recurse once per tree level,
// and so does the destruction of the deep chain.

#include "RouteStack.h"
#include "UIRemoteControl.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QThread>
#include <QVariant>

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <functional>
#include <memory>
#include <vector>

namespace {

class Probe : public UIRemoteControl {
public:
    using UIRemoteControl::UIRemoteControl;
    using UIRemoteControl::FindQMLObject;
};

struct Tree {
    std::unique_ptr<QObject> root;
    QObject *last = nullptr;
    QStringList path;
};

QObject *MakeObject(QObject *parent, int &counter)
{
    auto *object = new QObject(parent);
    object->setObjectName(QStringLiteral("o%1").arg(counter++));
    return object;
}

Tree Wide(int count)
{
    Tree tree;
    int counter = 0;
    tree.root.reset(MakeObject(nullptr, counter));
    while (counter < count)
        tree.last = MakeObject(tree.root.get(), counter);
    tree.path = QStringList{tree.root->objectName(), tree.last->objectName()};
    return tree;
}

Tree Deep(int count)
{
    Tree tree;
    int counter = 0;
    tree.root.reset(MakeObject(nullptr, counter));
    QObject *parent = tree.root.get();
    while (counter < count)
        parent = MakeObject(parent, counter);
    tree.last = parent;
    tree.path = QStringList{tree.root->objectName(), tree.last->objectName()};
    return tree;
}

// Creates children depth first, ten per object, until count objects exist.
void Grow(QObject *parent, int depth, int maxDepth, int count, int &counter, QObject *&last)
{
    if (depth == maxDepth)
        return;
    for (int i = 0; i < 10 && counter < count; ++i) {
        QObject *child = MakeObject(parent, counter);
        last = child;
        Grow(child, depth + 1, maxDepth, count, counter, last);
    }
}

Tree Balanced(int count)
{
    Tree tree;
    int counter = 0;
    tree.root.reset(MakeObject(nullptr, counter));
    int maxDepth = 1;
    for (long capacity = 10; capacity < count; capacity *= 10)
        ++maxDepth;
    Grow(tree.root.get(), 0, maxDepth, count, counter, tree.last);
    for (QObject *object = tree.last; object; object = object->parent())
        tree.path.prepend(object->objectName());
    return tree;
}

// Median time of one call in microseconds; repeats until minMs have passed (at least 5 runs).
double Time(const std::function<void()> &call, int minMs)
{
    std::vector<double> samples;
    QElapsedTimer total;
    total.start();
    while (samples.size() < 5 || total.elapsed() < minMs) {
        QElapsedTimer one;
        one.start();
        call();
        samples.push_back(one.nsecsElapsed() / 1000.0);
        if (samples.size() >= 2000)
            break;
    }
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

int g_failures = 0;

void Check(bool ok, const char *what, const char *shape, int count)
{
    if (!ok) {
        std::fprintf(stderr, "FAILED: %s (%s, %d objects)\n", what, shape, count);
        ++g_failures;
    }
}

void Run(int minMs)
{
    const bool logLoaded = dlopen("libQmdxLogUtl.so", RTLD_NOW | RTLD_NOLOAD) != nullptr;
    std::printf("trace log library loaded: %s\n\n", logLoaded ? "yes (logging active)" : "no (logging off)");
    std::printf("%-9s %8s %8s | %14s | %16s %7s | %14s %7s\n", "shape", "objects", "depth", "findChild us",
                "FindQMLObject us", "ratio", "getpro us", "ratio");
    std::printf("%s\n", QByteArray(100, '-').constData());

    const std::vector<std::pair<const char *, std::function<Tree(int)>>> shapes = {
        {"wide", Wide}, {"deep", Deep}, {"balanced", Balanced}};
    for (const auto &shape : shapes) {
        for (int count : {1000, 10000, 100000}) {
            Tree tree = shape.second(count);
            int depth = 0;
            for (QObject *object = tree.last; object; object = object->parent())
                ++depth;
            const QString lastName = tree.last->objectName();
            Probe control(tree.root.get(), nullptr, nullptr);

            QObject *found = nullptr;
            const double findChildUs = Time([&] { found = tree.root->findChild<QObject *>(lastName); }, minMs);
            Check(found == tree.last, "findChild result", shape.first, count);

            found = nullptr;
            const double searchUs = Time(
                [&] {
                    RouteStack route;
                    found = control.FindQMLObject(tree.root.get(), tree.path, &route);
                },
                minMs);
            Check(found == tree.last, "FindQMLObject result", shape.first, count);

            const QVariantMap request{{QStringLiteral("getpro"),
                                       QVariantMap{{QStringLiteral("objname"), tree.path.join(QLatin1Char('.'))},
                                                   {QStringLiteral("property"), QStringLiteral("objectName")}}}};
            QVariant value;
            bool ok = false;
            const double getproUs = Time([&] { ok = control.controlObject(request, value); }, minMs);
            Check(ok && value.toString() == lastName, "getpro result", shape.first, count);

            std::printf("%-9s %8d %8d | %14.1f | %16.1f %6.2fx | %14.1f %6.2fx\n", shape.first, count, depth, findChildUs,
                        searchUs, searchUs / findChildUs, getproUs, getproUs / findChildUs);
            std::fflush(stdout);
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int minMs = argc > 1 ? std::max(1, atoi(argv[1])) : 300;
    QThread *worker = QThread::create([minMs] { Run(minMs); });
    worker->setStackSize(1024u * 1024u * 1024u);
    worker->start();
    worker->wait();
    delete worker;
    return g_failures == 0 ? 0 : 1;
}
