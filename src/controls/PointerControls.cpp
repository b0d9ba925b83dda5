// The pointer controls: "click", "dbclick", "hover", "drag", "drop" and "press".

#include "ControlEngine.h"

#include "InputInjector.h"
#include "TraceLog.h"

#include <QQuickItem>
#include <QWindow>

#include <limits>

namespace {

using InputInjector::SendMouseEvent;
using InputInjector::Target;

// Coordinates beyond the int range (a client's point near INT_MAX in a moved item, or a huge
// item size) are clamped: converting them to int would be undefined. qRound() needs one unit of
// headroom below INT_MIN; NaN ends up at the lower bound.
qreal ClampToInt(qreal value)
{
    return qBound(qreal(std::numeric_limits<int>::min() + 1), value, qreal(std::numeric_limits<int>::max()));
}

QPoint RoundedPoint(const QPointF &point)
{
    return QPoint(qRound(ClampToInt(point.x())), qRound(ClampToInt(point.y())));
}

QPoint SceneCentre(QQuickItem *item) // click, dbclick, hover: rounded after mapping
{
    return RoundedPoint(item->mapToScene(QPointF(item->width() * 0.5, item->height() * 0.5)));
}

QPoint IntegerCentre(QQuickItem *item) // press, drop, drag: truncated before mapping
{
    return QPoint(int(ClampToInt(item->width() * 0.5)), int(ClampToInt(item->height() * 0.5)));
}

QPoint ToScene(QQuickItem *item, const QPoint &local)
{
    return RoundedPoint(item->mapToScene(QPointF(local)));
}

// The helpers below send their events to a target (the window and the item) and return false when
// the events destroyed the item or the window before the action's last event.

bool ClickItem(const Target &target, QQuickItem *item, Qt::MouseButton button, bool doubleClick, bool usePoint, int x,
               int y, Qt::KeyboardModifiers modifiers)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::ClickItem");
    const QPoint pos = usePoint ? ToScene(item, QPoint(x, y)) : SceneCentre(item);
    return SendMouseEvent(doubleClick ? QTest::MouseDClick : QTest::MouseClick, target, button, modifiers, pos);
}

bool HoverOnItemCenter(const Target &target, QQuickItem *item)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::HoverOnItemCenter");
    return SendMouseEvent(QTest::MouseMove, target, Qt::NoButton, Qt::NoModifier, SceneCentre(item));
}

bool HoverOnPointInItem(const Target &target, QQuickItem *item, int x, int y)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::HoverOnPointInItem");
    return SendMouseEvent(QTest::MouseMove, target, Qt::NoButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

// A press and a move: the press may destroy the item (a popup that closes on press) or its
// window, so the item is mapped for the move only when it still exists. A drag cut short that
// way releases its button, so that nothing stays held.
bool DragItem(const Target &target, QQuickItem *item, const QPoint &from, const QPoint &to)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::DragItem");
    const QPoint scenePress = ToScene(item, from);
    if (!SendMouseEvent(QTest::MousePress, target, Qt::LeftButton, Qt::NoModifier, scenePress))
        return false;
    if (!target.Alive()) { // the target guards the item too
        InputInjector::ReleaseHeldButton(target, Qt::LeftButton, scenePress);
        return false;
    }
    return SendMouseEvent(QTest::MouseMove, target, Qt::NoButton, Qt::NoModifier, ToScene(item, to));
}

bool DragItemFromCenter(const Target &target, QQuickItem *item, const QPoint &to)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::DragItemFromCenter");
    return DragItem(target, item, IntegerCentre(item), to);
}

bool DropItem(const Target &target, QQuickItem *item, int x, int y)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::DropItem");
    return SendMouseEvent(QTest::MouseRelease, target, Qt::LeftButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

bool PressItem(const Target &target, QQuickItem *item, int x, int y)
{
    RC_FIXED_TRACE_SCOPE("`anonymous-namespace'::PressItem");
    return SendMouseEvent(QTest::MousePress, target, Qt::LeftButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

bool HasPoint(const ArgumentMap &args)
{
    return args.contains(QStringLiteral("x")) && args.contains(QStringLiteral("y"));
}

QPoint ArgPoint(const ArgumentMap &args, const char *xKey, const char *yKey)
{
    return QPoint(args.value(QLatin1String(xKey)).toInt(), args.value(QLatin1String(yKey)).toInt());
}

// The client's point when both "x" and "y" are given, else the truncated centre.
QPoint PointOrIntegerCentre(const ArgumentMap &args, QQuickItem *item)
{
    return HasPoint(args) ? ArgPoint(args, "x", "y") : IntegerCentre(item);
}

} // namespace

bool UIRemoteControl::DoClick(const ArgumentMap &args, bool doubleClick)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoClick");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoClick"), &window, &item))
        return false;
    if (m_engine->WantsActionable(args))
        m_engine->BringIntoView(item); // a person scrolls to what is out of view first
    const QString word = args.value(QStringLiteral("clickbtn")).toString().toLower();
    const bool usePoint = HasPoint(args);
    const QPoint point = usePoint ? ArgPoint(args, "x", "y") : QPoint();
    Qt::MouseButton button = Qt::LeftButton;
    if (word == QLatin1String("right"))
        button = Qt::RightButton;
    else if (word == QLatin1String("mid"))
        button = Qt::MiddleButton;
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    if (m_engine->WantsActionable(args) &&
        !m_engine->CheckActionable(args, item, window, usePoint ? ToScene(item, point) : SceneCentre(item), button))
        return false;
    const Target target(window, item);
    if (!ClickItem(target, item, button, doubleClick, usePoint, point.x(), point.y(), modifiers))
        return m_engine->ActionInterrupted("UIRemoteControl::DoClick", args, target.WindowGone());
    return true;
}

bool UIRemoteControl::DoHover(const ArgumentMap &args)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoHover");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoHover"), &window, &item))
        return false;
    if (m_engine->WantsActionable(args))
        m_engine->BringIntoView(item); // a person scrolls to what is out of view first
    if (m_engine->WantsActionable(args) &&
        !m_engine->CheckActionable(args, item, window, HasPoint(args) ? ToScene(item, ArgPoint(args, "x", "y")) : SceneCentre(item),
                         Qt::NoButton))
        return false;
    const Target target(window, item);
    bool sent = false;
    if (HasPoint(args)) {
        const QPoint point = ArgPoint(args, "x", "y");
        sent = HoverOnPointInItem(target, item, point.x(), point.y());
    } else {
        sent = HoverOnItemCenter(target, item);
    }
    if (!sent)
        return m_engine->ActionInterrupted("UIRemoteControl::DoHover", args, target.WindowGone());
    return true;
}

bool UIRemoteControl::DoDrag(const ArgumentMap &args)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoDrag");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoDrag"), &window, &item))
        return false;
    if (m_engine->WantsActionable(args))
        m_engine->BringIntoView(item); // a person scrolls to what is out of view first
    const bool fromTo = args.contains(QStringLiteral("from_x")) && args.contains(QStringLiteral("from_y")) &&
                        args.contains(QStringLiteral("to_x")) && args.contains(QStringLiteral("to_y"));
    if (m_engine->WantsActionable(args) &&
        !m_engine->CheckActionable(args, item, window, ToScene(item, fromTo ? ArgPoint(args, "from_x", "from_y") : IntegerCentre(item)),
                         Qt::LeftButton))
        return false;
    const Target target(window, item);
    const bool sent = fromTo ? DragItem(target, item, ArgPoint(args, "from_x", "from_y"), ArgPoint(args, "to_x", "to_y"))
                             : DragItemFromCenter(target, item, PointOrIntegerCentre(args, item));
    if (!sent)
        return m_engine->ActionInterrupted("UIRemoteControl::DoDrag", args, target.WindowGone());
    return true;
}

bool UIRemoteControl::DoDrop(const ArgumentMap &args)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoDrop");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoDrop"), &window, &item))
        return false;
    const QPoint point = PointOrIntegerCentre(args, item);
    // A release goes to whatever holds the press: only the item and the point are checked.
    if (m_engine->WantsActionable(args) && !m_engine->CheckActionable(args, item, window, ToScene(item, point), Qt::LeftButton, false))
        return false;
    const Target target(window, item);
    if (!DropItem(target, item, point.x(), point.y()))
        return m_engine->ActionInterrupted("UIRemoteControl::DoDrop", args, target.WindowGone());
    return true;
}

bool UIRemoteControl::DoPress(const ArgumentMap &args)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoPress");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoPress"), &window, &item))
        return false;
    if (m_engine->WantsActionable(args))
        m_engine->BringIntoView(item); // a person scrolls to what is out of view first
    const QPoint point = PointOrIntegerCentre(args, item);
    if (m_engine->WantsActionable(args) && !m_engine->CheckActionable(args, item, window, ToScene(item, point), Qt::LeftButton))
        return false;
    const Target target(window, item);
    if (!PressItem(target, item, point.x(), point.y()))
        return m_engine->ActionInterrupted("UIRemoteControl::DoPress", args, target.WindowGone());
    return true;
}

bool ControlEngine::ActionInterrupted(const char *function, const ArgumentMap &args, bool windowGone) const
{
    if (windowGone) {
        RC_ERROR("%s, the window was destroyed during the action", function);
        SetFailureReason(QStringLiteral("the window was destroyed during the action"));
    } else {
        RC_ERROR("%s, the item was destroyed during the action", function);
        SetFailureReason(QStringLiteral("the item %1 was destroyed during the action").arg(ArgumentsPath(args)));
    }
    return false;
}
