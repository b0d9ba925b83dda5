// Scrolling as a person does it before acting: a path that names a delegate a view has not
// created yet is reached by paging the views where it could be until it exists, and an item
// outside its Flickable's visible area is scrolled into view before a checked pointer action.
//
// The search itself (lookup/) only reads the scene. The step that writes is here: when a handler
// of a word that names an object failed because its search found nothing, dispatch calls
// RevealNamedObject and, when that made the object, runs the handler again. A control whose
// object exists pays for one search, as before.

#include "ControlEngine.h"

#include "SearchOrder.h"
#include "Selector.h"
#include "TraceLog.h"

#include <QMetaObject>
#include <QPointer>
#include <QQuickItem>
#include <QSet>

namespace {

// At most this many pages per view and direction: a view of 200 pages is left to the test.
const int kMaxPages = 200;
// A page leaves this share of the previous one in view, so that no row is stepped over.
const qreal kPageShare = 0.8;

bool IsFlickable(const QObject *object) { return object && object->inherits("QQuickFlickable"); }

struct Axis {
    const char *position; // "contentY"
    qreal minimum;
    qreal maximum;
};

// The range the view's content may be moved in, on one axis; false when it has nothing to scroll.
bool AxisOf(QQuickItem *view, bool vertical, Axis *axis)
{
    const char *origin = vertical ? "originY" : "originX";
    const qreal extent = view->property(vertical ? "contentHeight" : "contentWidth").toReal();
    const qreal size = vertical ? view->height() : view->width();
    const qreal before = view->property(vertical ? "topMargin" : "leftMargin").toReal();
    const qreal after = view->property(vertical ? "bottomMargin" : "rightMargin").toReal();
    axis->position = vertical ? "contentY" : "contentX";
    axis->minimum = view->property(origin).toReal() - before;
    axis->maximum = qMax(axis->minimum, view->property(origin).toReal() + extent + after - size);
    return size > 0 && axis->maximum - axis->minimum > 0.5;
}

// Moves the view's content to position (clamped) and lets a ListView or GridView create the
// delegates that come into view. False when the content did not move.
bool MoveTo(QQuickItem *view, const Axis &axis, qreal position)
{
    position = qBound(axis.minimum, position, axis.maximum);
    const qreal before = view->property(axis.position).toReal();
    if (qAbs(position - before) < 0.5)
        return false;
    view->setProperty(axis.position, position);
    if (view->metaObject()->indexOfMethod("forceLayout()") >= 0)
        QMetaObject::invokeMethod(view, "forceLayout");
    return true;
}

bool Step(QQuickItem *view, bool vertical, int direction)
{
    Axis axis;
    if (!AxisOf(view, vertical, &axis)) // a ListView's extent grows as it creates delegates
        return false;
    const qreal page = (vertical ? view->height() : view->width()) * kPageShare;
    return MoveTo(view, axis, view->property(axis.position).toReal() + direction * qMax(page, qreal(1)));
}

// The shown views at or below scope whose content is larger than their viewport, in search order.
QList<QQuickItem *> ScrollableViews(QObject *scope)
{
    QList<QQuickItem *> views;
    QSet<QObject *> seen;
    const std::function<void(QObject *)> visit = [&](QObject *object) {
        if (seen.contains(object))
            return;
        seen.insert(object);
        auto *item = qobject_cast<QQuickItem *>(object);
        if (item && IsFlickable(item) && Selector::Shown(item)) {
            Axis axis;
            if (AxisOf(item, true, &axis) || AxisOf(item, false, &axis))
                views.append(item);
        }
        for (QObject *child : SearchOrder::Children(object))
            visit(child);
    };
    visit(scope);
    return views;
}

} // namespace

QObject *ControlEngine::FindQuietly(const Selector::Path &segments) const
{
    // The selector search takes name segments as the name search does, in the same order, and
    // writes no trace line per visit: the handler's own search is the one the trace shows.
    if (!m_root || segments.isEmpty())
        return nullptr;
    return Selector::Find(m_root, segments, nullptr);
}

bool ControlEngine::RevealNamedObject(const ArgumentMap &args)
{
    if (!m_extensions || !m_root || args.contains(QStringLiteral("method")))
        return false;
    const QString path = ArgumentsPath(args);
    Selector::Path segments;
    if (path.isEmpty())
        return false;
    if (path.contains(QLatin1Char('{'))) {
        if (!Selector::Parse(path, segments))
            return false; // the handler's search gives the reason
    } else {
        for (const QString &name : path.split(QLatin1Char('.'))) {
            Selector::Segment segment;
            segment.name = name;
            segments.append(segment);
        }
    }
    if (FindQuietly(segments))
        return false;
    // The views where the object could be: those below the longest part of the path that exists.
    QObject *scope = m_root;
    for (int length = segments.size() - 1; length > 0; --length) {
        if (QObject *found = FindQuietly(segments.mid(0, length))) {
            scope = found;
            break;
        }
    }
    // A view inside another view's delegate goes when the outer view moves that delegate away.
    QList<QPointer<QQuickItem>> views;
    for (QQuickItem *view : ScrollableViews(scope))
        views.append(view);
    for (const QPointer<QQuickItem> &view : views) {
        if (!view)
            continue;
        for (const bool vertical : {true, false}) {
            Axis axis;
            if (!AxisOf(view, vertical, &axis))
                continue;
            const qreal start = view->property(axis.position).toReal();
            // Onwards first, then back from where it was: a person looks below before above.
            for (const int direction : {1, -1}) {
                if (direction < 0 && view && AxisOf(view, vertical, &axis))
                    MoveTo(view, axis, start);
                for (int page = 0; page < kMaxPages && view && Step(view, vertical, direction); ++page) {
                    if (q.m_beforeEachControl)
                        q.m_beforeEachControl(); // tools name the delegates that were just made
                    if (FindQuietly(segments)) {
                        RC_LOG(TraceLog::Trace, "%s, %s found after scrolling %s", "UIRemoteControl::RevealNamedObject",
                                 path.toLocal8Bit().constData(), Selector::TypeName(view).toLocal8Bit().constData());
                        return true;
                    }
                }
            }
            // Not there: the view goes back to where it was.
            if (view && AxisOf(view, vertical, &axis))
                MoveTo(view, axis, start);
            if (!view)
                break;
        }
    }
    return false;
}

void ControlEngine::BringIntoView(QQuickItem *item) const
{
    for (QQuickItem *up = item ? item->parentItem() : nullptr; up; up = up->parentItem()) {
        auto *content = IsFlickable(up) ? qvariant_cast<QQuickItem *>(up->property("contentItem")) : nullptr;
        if (!content || !content->isAncestorOf(item))
            continue;
        const QRectF rect = item->mapRectToItem(up, QRectF(0, 0, item->width(), item->height()));
        for (const bool vertical : {true, false}) {
            Axis axis;
            if (!AxisOf(up, vertical, &axis))
                continue;
            const qreal low = vertical ? rect.top() : rect.left();
            const qreal high = vertical ? rect.bottom() : rect.right();
            const qreal size = vertical ? up->height() : up->width();
            qreal shift = 0;
            if (low < 0)
                shift = low;
            else if (high > size)
                shift = qMin(high - size, low); // the item's start stays in view when it is larger
            if (shift != 0)
                MoveTo(up, axis, up->property(axis.position).toReal() + shift);
        }
    }
}
