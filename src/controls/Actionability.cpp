// Actionability: whether a person could act on an item at a point, checked before a pointer
// action acts. The item must be shown in the window the action goes to, that window must be
// exposed, the item visible (not fully transparent), enabled and of some size, the point inside
// the window, and the item (or an item inside it, or one it lies in) must be the topmost item at
// that point that takes the button: not covered by another item, a popup, or the shade of a
// modal popup (Controls 2 popups live in the window's overlay).

#include "ControlEngine.h"

#include "SceneTree.h"
#include "Selector.h"
#include "TraceLog.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>

namespace {

QString Label(const QObject *object)
{
    if (!object)
        return QStringLiteral("nothing");
    if (const auto *window = qobject_cast<const QWindow *>(object))
        return WindowName(const_cast<QWindow *>(window));
    if (!object->objectName().isEmpty())
        return object->objectName();
    const QString id = SceneTree::QmlId(object);
    // A nameless object by its QML type (Button, not Button_QMLTYPE_11).
    return id.isEmpty() ? Selector::TypeName(object) : id;
}

QString PointText(const QPointF &point)
{
    return QStringLiteral("(%1, %2)").arg(point.x()).arg(point.y());
}

qreal EffectiveOpacity(const QQuickItem *item)
{
    qreal opacity = 1.0;
    for (; item; item = item->parentItem())
        opacity *= item->opacity();
    return opacity;
}

bool Takes(const QQuickItem *item, Qt::MouseButton button)
{
    if (button == Qt::NoButton) // hover and wheel: items that follow the mouse or take any button
        return item->acceptHoverEvents() || item->acceptedMouseButtons() != Qt::NoButton;
    return item->acceptedMouseButtons() & button;
}

// The overlay of Controls 2 popups: it takes every button, but only to close popups and to drag
// drawers; what it lets through is decided by the popups (ModalPopupOutside below).
bool IsOverlay(const QQuickItem *item) { return item->inherits("QQuickOverlay"); }

// The item that gets a press at scenePoint, searched as Qt delivers pointer events: children
// before their parent, the topmost (highest z, then latest) first, clipping items hiding what
// lies outside them, invisible and disabled subtrees skipped.
QQuickItem *Receiver(QQuickItem *item, const QPointF &scenePoint, Qt::MouseButton button)
{
    if (!item->isVisible() || !item->isEnabled())
        return nullptr;
    const QPointF local = item->mapFromScene(scenePoint);
    if (item->clip() && !item->contains(local))
        return nullptr;
    QList<QQuickItem *> children = item->childItems();
    std::stable_sort(children.begin(), children.end(),
                     [](const QQuickItem *a, const QQuickItem *b) { return a->z() < b->z(); });
    for (auto it = children.crbegin(); it != children.crend(); ++it) {
        if (QQuickItem *found = Receiver(*it, scenePoint, button))
            return found;
    }
    if (!IsOverlay(item) && item->contains(local) && Takes(item, button))
        return item;
    return nullptr;
}

// A modal popup open in the window, above the item, whose own item does not hold the point: it
// swallows the press. The items of popups are the overlay's children, stacked as Qt paints them
// (by z, then in the order they were opened); the popup is their QObject parent. Popups below
// the one the item lies in cannot cover it: a combo box's list opened in a modal dialog is above
// the dialog, and takes the press.
QObject *ModalPopupOutside(QQuickWindow *window, const QQuickItem *item, const QPointF &scenePoint)
{
    for (QQuickItem *child : window->contentItem()->childItems()) {
        if (!IsOverlay(child) || !child->isVisible())
            continue;
        QList<QQuickItem *> stacked = child->childItems();
        std::stable_sort(stacked.begin(), stacked.end(),
                         [](const QQuickItem *a, const QQuickItem *b) { return a->z() < b->z(); });
        for (auto it = stacked.crbegin(); it != stacked.crend(); ++it) {
            QQuickItem *popupItem = *it;
            if (!popupItem->isVisible())
                continue;
            if (popupItem == item || popupItem->isAncestorOf(item))
                return nullptr;
            QObject *popup = popupItem->parent();
            if (!popup || !popup->inherits("QQuickPopup") || !popup->property("modal").toBool())
                continue;
            if (!popupItem->contains(popupItem->mapFromScene(scenePoint)))
                return popup;
        }
    }
    return nullptr;
}

bool TakesInside(QQuickItem *item, Qt::MouseButton button)
{
    if (Takes(item, button))
        return true;
    const QList<QQuickItem *> children = item->childItems();
    return std::any_of(children.begin(), children.end(), [button](QQuickItem *c) { return TakesInside(c, button); });
}

} // namespace

bool ControlEngine::WantsActionable(const ArgumentMap &args) const
{
    return m_extensions && args.value(QStringLiteral("actionable")).toBool();
}

bool ControlEngine::ResolveActionTarget(const ArgumentMap &args, QWindow **window, QQuickItem **item) const
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QWindow *named = nullptr;
    if (!winName.isEmpty()) {
        named = WindowNamed(winName);
        if (!named) {
            SetFailureReason(QStringLiteral("no window is named \"%1\"").arg(winName));
            return false;
        }
    }
    auto *found = qobject_cast<QQuickItem *>(FindQMLObject(args));
    if (!found) {
        SetFailureReason(QStringLiteral("no visual item is found by \"%1\"").arg(args.value(QStringLiteral("objname")).toString()));
        return false;
    }
    *item = found;
    *window = named ? named : found->window();
    if (!*window) {
        SetFailureReason(QStringLiteral("the item %1 is in no window").arg(Label(found)));
        return false;
    }
    return true;
}

bool ControlEngine::CheckActionable(const ArgumentMap &args, QQuickItem *item, QWindow *window,
                                      const QPointF &scenePoint, Qt::MouseButton button, bool hitTest) const
{
    const auto fail = [this, item](const QString &reason) {
        RC_ERROR("%s, %s is not actionable: %s", "UIRemoteControl::CheckActionable", Label(item).toLocal8Bit().constData(),
                 reason.toLocal8Bit().constData());
        SetFailureReason(reason);
        return false;
    };
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    if (!winName.isEmpty() && window != WindowNamed(winName))
        return fail(QStringLiteral("no window is named \"%1\"").arg(winName));
    auto *quickWindow = qobject_cast<QQuickWindow *>(window);
    if (!quickWindow || item->window() != quickWindow)
        return fail(QStringLiteral("the item %1 is not shown in the window %2").arg(Label(item), Label(window)));
    if (!window->isExposed())
        return fail(QStringLiteral("the window %1 is not exposed").arg(Label(window)));
    if (!item->isVisible() || EffectiveOpacity(item) <= 0.0)
        return fail(QStringLiteral("the item %1 is not visible").arg(Label(item)));
    // A MouseArea's own "enabled" shadows the item's.
    if (!item->isEnabled() || !item->property("enabled").toBool())
        return fail(QStringLiteral("the item %1 is not enabled").arg(Label(item)));
    if (item->width() <= 0.0 || item->height() <= 0.0)
        return fail(QStringLiteral("the item %1 has zero size").arg(Label(item)));
    if (scenePoint.x() < 0 || scenePoint.y() < 0 || scenePoint.x() >= window->width() || scenePoint.y() >= window->height())
        return fail(QStringLiteral("the point %1 is outside the window %2 (%3x%4)")
                        .arg(PointText(scenePoint), Label(window))
                        .arg(window->width())
                        .arg(window->height()));
    if (!hitTest)
        return true;
    if (QObject *popup = ModalPopupOutside(quickWindow, item, scenePoint)) {
        if (!item->inherits("QQuickOverlay"))
            return fail(QStringLiteral("the item %1 is covered by the modal popup %2").arg(Label(item), Label(popup)));
    }
    QQuickItem *receiver = Receiver(quickWindow->contentItem(), scenePoint, button);
    if (!receiver || receiver == item || item->isAncestorOf(receiver))
        return true;
    // An item inside the receiver (a label in a button, a delegate in a view) is reached through
    // it, unless the item itself takes the button: then the press should have been its own.
    if (receiver->isAncestorOf(item) && !TakesInside(item, button))
        return true;
    return fail(QStringLiteral("the item %1 is covered at %2 by %3").arg(Label(item), PointText(scenePoint), Label(receiver)));
}
