// The scene's object tree as the tools see it: walks, ids, finding paths, window and image.

#include "SceneTree.h"

#include "SearchOrder.h"

#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QPair>
#include <QSet>

namespace SceneTree {

QList<QObject *> Children(QObject *object)
{
    QList<QObject *> children = object->children();
    // Popups that only the overlay ties to the scene (the shared ToolTip) stand in for their items.
    const QList<QObject *> unowned = SearchOrder::Unowned(object);
    if (auto *item = qobject_cast<QQuickItem *>(object)) {
        for (QQuickItem *child : item->childItems()) {
            if (child->parent() != object && !unowned.contains(child->parent()))
                children.append(child);
        }
    }
    for (QObject *popup : unowned) {
        if (!children.contains(popup))
            children.append(popup);
    }
    return children;
}

void Walk(QObject *root, const std::function<bool(QObject *, int)> &visit)
{
    QSet<QObject *> seen;
    const std::function<void(QObject *, int)> step = [&](QObject *object, int depth) {
        if (!object || seen.contains(object))
            return;
        seen.insert(object);
        if (!visit(object, depth))
            return;
        for (QObject *child : Children(object))
            step(child, depth + 1);
    };
    step(root, 0);
}

QString QmlId(const QObject *object)
{
    for (QQmlContext *context = qmlContext(object); context; context = context->parentContext()) {
        const QString id = context->nameForObject(const_cast<QObject *>(object));
        if (!id.isEmpty())
            return id;
    }
    return QString();
}

void NameFromIds(QObject *root)
{
    Walk(root, [](QObject *object, int) {
        if (object->objectName().isEmpty()) {
            const QString id = QmlId(object);
            if (!id.isEmpty())
                object->setObjectName(id);
        }
        return true;
    });
}

namespace {

// The name a path segment can match: a name holding a dot never matches, since paths are split
// at dots.
QString PathName(const QObject *object)
{
    const QString name = object->objectName();
    return name.contains(QLatin1Char('.')) ? QString() : name;
}

// Walks in the object search's order, handing each visit the names of the named objects on the
// way down (the visited object's own name last, when it has one). An object met again (below a
// repeater or a view) with the same names on the way down is passed over with everything below
// it: that part of the walk would hand out the same visits again, and nested repeaters would
// double the walk at each level.
using Visited = QSet<QPair<QObject *, QString>>;
void SearchWalk(QObject *object, QStringList &names, const std::function<void(QObject *, const QStringList &)> &visit,
                Visited &visited)
{
    const QString name = PathName(object);
    if (!name.isEmpty())
        names.append(name);
    const QPair<QObject *, QString> key(object, names.join(QLatin1Char('.')));
    if (!visited.contains(key)) {
        visited.insert(key);
        SearchOrder::CountVisit();
        visit(object, names);
        for (QObject *child : SearchOrder::Children(object))
            SearchWalk(child, names, visit, visited);
    }
    if (!name.isEmpty())
        names.removeLast();
}

// The search consumes the head of its path at each object on its way down whose name equals it,
// and returns the object at which the path runs out. Given the names on the way down to a named
// object, records in found every candidate path that runs out exactly there, unless an earlier
// visit already took it. Candidates are prefix-closed, so a way that leaves them is given up.
void TakeCompletedPaths(QObject *object, const QStringList &names, int from, const QString &prefix,
                        const QSet<QString> &candidates, QHash<QString, QObject *> &found)
{
    QSet<QString> tried;
    for (int i = from; i < names.size(); ++i) {
        if (tried.contains(names.at(i)))
            continue; // the search consumes the first occurrence only
        tried.insert(names.at(i));
        const QString path = prefix.isEmpty() ? names.at(i) : prefix + QLatin1Char('.') + names.at(i);
        if (!candidates.contains(path))
            continue;
        if (i == names.size() - 1) {
            if (!found.contains(path))
                found.insert(path, object);
        } else {
            TakeCompletedPaths(object, names, i + 1, path, candidates, found);
        }
    }
}

} // namespace

QHash<QObject *, QString> FindingPaths(QObject *root)
{
    QHash<QObject *, QString> paths;
    if (!root)
        return paths;
    // Candidates: each named object's own name, and the names on the way down at its first visit,
    // with all their prefixes.
    QHash<QObject *, QString> chains;
    QSet<QString> candidates;
    QStringList names;
    Visited visited;
    SearchWalk(root, names, [&](QObject *object, const QStringList &chain) {
        if (PathName(object).isEmpty() || chains.contains(object))
            return;
        chains.insert(object, chain.join(QLatin1Char('.')));
        candidates.insert(chain.constLast());
        for (int n = 1; n <= chain.size(); ++n)
            candidates.insert(chain.mid(0, n).join(QLatin1Char('.')));
    }, visited);
    QHash<QString, QObject *> found;
    // Second pass, in the same order: the first object at which each candidate runs out.
    visited.clear();
    SearchWalk(root, names, [&](QObject *object, const QStringList &chain) {
        if (!PathName(object).isEmpty())
            TakeCompletedPaths(object, chain, 0, QString(), candidates, found);
    }, visited);
    for (auto it = chains.constBegin(); it != chains.constEnd(); ++it) {
        const QString name = it.key()->objectName();
        if (found.value(name) == it.key())
            paths.insert(it.key(), name);
        else if (found.value(it.value()) == it.key())
            paths.insert(it.key(), it.value());
    }
    return paths;
}

QQuickWindow *WindowOfRoot(QObject *root)
{
    if (auto *window = qobject_cast<QQuickWindow *>(root))
        return window;
    auto *item = qobject_cast<QQuickItem *>(root);
    return item ? item->window() : nullptr;
}

void PreferHeadless()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qgetenv("QT_QPA_PLATFORM") == "offscreen" && qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
}

QImage Grab(QQuickWindow *window)
{
    if (!window)
        return QImage();
    QImage image = window->grabWindow();
    if (image.isNull() && window->screen()) // some platforms grab only through the screen
        image = window->screen()->grabWindow(window->winId()).toImage();
    return image;
}

} // namespace SceneTree
