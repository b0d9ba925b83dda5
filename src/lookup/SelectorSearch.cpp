// The object search for paths that hold selectors. It visits objects exactly as the name search
// does (SearchOrder.h); only the test at each object differs.

#include "RouteStack.h"
#include "SearchOrder.h"
#include "Selector.h"

#include <QObject>
#include <QSet>

namespace Selector {

namespace {

// The matches a selector segment has met since the segment before it was consumed.
struct Count {
    int matches = 0;
    QSet<const QObject *> seen;
};

QObject *Step(QObject *object, const Path &path, int head, Count &count, RouteStack *route)
{
    const QString name = object->objectName();
    RouteStackGuard guard(object, route);
    const Segment &segment = path.at(head);
    bool consumed = false;
    if (!segment.isSelector) {
        consumed = name == segment.name;
    } else if (!count.seen.contains(object) && Matches(segment, object)) {
        count.seen.insert(object);
        consumed = count.matches++ == segment.index;
    }
    if (consumed && head + 1 == path.size()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("target found"));
        return object;
    }
    if (consumed) {
        Count next;
        for (QObject *child : SearchOrder::Children(object)) {
            if (QObject *found = Step(child, path, head + 1, next, route))
                return found;
        }
        return nullptr;
    }
    for (QObject *child : SearchOrder::Children(object)) {
        if (QObject *found = Step(child, path, head, count, route))
            return found;
    }
    return nullptr;
}

} // namespace

QObject *Find(QObject *root, const Path &path, RouteStack *route)
{
    if (!root || path.isEmpty()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("invalid argument"));
        return nullptr;
    }
    Count count;
    return Step(root, path, 0, count, route);
}

} // namespace Selector
