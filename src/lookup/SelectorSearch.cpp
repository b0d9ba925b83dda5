// The object search for paths that hold selectors. It visits objects in the order of the name
// search (SearchOrder.h); among the matches of a selector, shown objects come first.

#include "RouteStack.h"
#include "SearchOrder.h"
#include "Selector.h"

#include <QObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>

#include <algorithm>

namespace Selector {

bool Shown(const QObject *object)
{
    for (const QObject *at = object; at; at = at->parent()) {
        if (const auto *item = qobject_cast<const QQuickItem *>(at)) {
            if (!item->window() || !item->window()->isVisible() || !item->isVisible())
                return false;
            for (const QQuickItem *up = item; up; up = up->parentItem()) {
                if (up->opacity() <= 0.0)
                    return false;
            }
            return true;
        }
        if (const auto *window = qobject_cast<const QWindow *>(at))
            return window->isVisible();
        // A popup without an item in a window (closed, or never opened) is not shown.
        if (at->inherits("QQuickPopup"))
            return at->property("visible").toBool() && Shown(qvariant_cast<QObject *>(at->property("popupItem")));
    }
    return true; // an object outside every item and window: nothing hides it
}

namespace {

// The matches of a selector segment in the subtree of object, in search order, each once. An
// object met again (below a repeater or a view) had its whole subtree collected already, so the
// walk does not go below it twice: one lookup walks each object once.
void Collect(QObject *object, const Segment &segment, QList<QObject *> &matches, QSet<const QObject *> &walked)
{
    if (walked.contains(object))
        return;
    walked.insert(object);
    SearchOrder::CountVisit();
    if (Matches(segment, object))
        matches.append(object);
    for (QObject *child : SearchOrder::Children(object))
        Collect(child, segment, matches, walked);
}

// The name searches of one lookup that found nothing, by object and segment: met again, they
// would find nothing again (and take no route snapshot: only a found target takes one).
using Failed = QSet<QPair<const QObject *, int>>;

QObject *FindNameHere(QObject *object, const Path &path, int head, RouteStack *route, Failed &failed);

QObject *FindIn(const QList<QObject *> &starts, const Path &path, int head, RouteStack *route, Failed &failed);

// A name segment: the first object in search order with that name consumes it, and the rest of
// the path is searched below it; when it is not found there, the search goes on after it.
QObject *FindName(QObject *object, const Path &path, int head, RouteStack *route, Failed &failed)
{
    const QPair<const QObject *, int> visit(object, head);
    if (failed.contains(visit))
        return nullptr;
    QObject *found = nullptr;
    {
        RouteStackGuard guard(object, route);
        SearchOrder::CountVisit();
        found = FindNameHere(object, path, head, route, failed);
    }
    if (!found)
        failed.insert(visit);
    return found;
}

QObject *FindNameHere(QObject *object, const Path &path, int head, RouteStack *route, Failed &failed)
{
    if (object->objectName() == path.at(head).name) {
        if (head + 1 == path.size()) {
            if (route)
                route->TakeSnapshot(QStringLiteral("target found"));
            return object;
        }
        return FindIn(SearchOrder::Children(object), path, head + 1, route, failed);
    }
    for (QObject *child : SearchOrder::Children(object)) {
        if (QObject *found = FindName(child, path, head, route, failed))
            return found;
    }
    return nullptr;
}

QObject *FindIn(const QList<QObject *> &starts, const Path &path, int head, RouteStack *route, Failed &failed)
{
    const Segment &segment = path.at(head);
    if (!segment.isSelector) {
        for (QObject *start : starts) {
            if (QObject *found = FindName(start, path, head, route, failed))
                return found;
        }
        return nullptr;
    }
    QList<QObject *> matches;
    QSet<const QObject *> walked;
    for (QObject *start : starts)
        Collect(start, segment, matches, walked);
    std::stable_partition(matches.begin(), matches.end(), [](const QObject *o) { return Shown(o); });
    if (segment.index < 0 || segment.index >= matches.size())
        return nullptr;
    QObject *chosen = matches.at(segment.index);
    RouteStackGuard guard(chosen, route);
    if (head + 1 == path.size()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("target found"));
        return chosen;
    }
    return FindIn(SearchOrder::Children(chosen), path, head + 1, route, failed);
}

} // namespace

QObject *Find(QObject *root, const Path &path, RouteStack *route)
{
    if (!root || path.isEmpty()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("invalid argument"));
        return nullptr;
    }
    Failed failed;
    return FindIn({root}, path, 0, route, failed);
}

} // namespace Selector
