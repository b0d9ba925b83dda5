#pragma once
// The order in which the object path search visits objects: an object's children, then, for a
// repeater, the visual children of its parent item (the delegates), then, for a flickable view,
// the visual children of its child items (the delegates below the content item). Shared by the
// search and by the tree walks that must agree with it.

#include "UIRemoteControlGlobal.h"

#include <QList>
#include <QtGlobal>
#include <QStringList>

class QObject;
class QQuickItem;

namespace SearchOrder {

// True when a class up object's chain has one of classNames in its name.
bool DerivesFrom(const QObject *object, const QStringList &classNames);
// An item whose class derives from QQuickRepeater.
bool IsRepeater(const QObject *object);
// An object with children whose class derives from QQuickFlickable, QQuickGridView or QQuickListView.
bool IsFlickable(const QObject *object);
// The repeater's delegates: the visual children of its parent item, repeaters left out.
QList<QQuickItem *> RepeaterDelegates(const QObject *repeater);
// The flickable's delegates: the visual children of each of its child items.
QList<QQuickItem *> FlickableDelegates(const QObject *flickable);
// What only the scene's drawing ties to object, which no QObject parent reaches: the child items
// of an item that have no QObject parent (the revealed items of a SwipeDelegate), and, for the
// overlay of Controls 2 popups, the popups of its items whose QObject parents lead to no item,
// window or popup (the shared ToolTip, a child of the QML engine). Searched after the rest.
QList<QObject *> Unowned(const QObject *object);
// Visits of objects by the searches so far (one thread: the GUI thread's), for tests and
// benchmarks that check how often a search meets each object.
void CountVisit();
UIREMOTECONTROL_EXPORT quint64 Visits();
// Everything the search descends into from object, in its order (an object may appear twice);
// Unowned() included (extension mode's searches).
UIREMOTECONTROL_EXPORT QList<QObject *> Children(QObject *object);

} // namespace SearchOrder
