// The pointer controls: "click", "dbclick", "hover", "drag", "drop" and "press".

#include "UIRemoteControl.h"

#include "InputInjector.h"
#include "TraceLog.h"

#include <QQuickItem>
#include <QWindow>

#include <limits>

namespace {

using InputInjector::SendMouseEvent;

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

void ClickItem(QQuickItem *item, QWindow *window, Qt::MouseButton button, bool doubleClick, bool usePoint, int x,
               int y, Qt::KeyboardModifiers modifiers)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::ClickItem");
    const QPoint pos = usePoint ? ToScene(item, QPoint(x, y)) : SceneCentre(item);
    SendMouseEvent(doubleClick ? QTest::MouseDClick : QTest::MouseClick, window, button, modifiers, pos);
}

void HoverOnItemCenter(QQuickItem *item, QWindow *window)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::HoverOnItemCenter");
    SendMouseEvent(QTest::MouseMove, window, Qt::NoButton, Qt::NoModifier, SceneCentre(item));
}

void HoverOnPointInItem(QQuickItem *item, QWindow *window, int x, int y)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::HoverOnPointInItem");
    SendMouseEvent(QTest::MouseMove, window, Qt::NoButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

void DragItem(QQuickItem *item, QWindow *window, const QPoint &from, const QPoint &to)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::DragItem");
    SendMouseEvent(QTest::MousePress, window, Qt::LeftButton, Qt::NoModifier, ToScene(item, from));
    SendMouseEvent(QTest::MouseMove, window, Qt::NoButton, Qt::NoModifier, ToScene(item, to));
}

void DragItemFromCenter(QQuickItem *item, QWindow *window, const QPoint &to)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::DragItemFromCenter");
    DragItem(item, window, IntegerCentre(item), to);
}

void DropItem(QQuickItem *item, QWindow *window, int x, int y)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::DropItem");
    SendMouseEvent(QTest::MouseRelease, window, Qt::LeftButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
}

void PressItem(QQuickItem *item, QWindow *window, int x, int y)
{
    RC_TRACE_SCOPE("`anonymous-namespace'::PressItem");
    SendMouseEvent(QTest::MousePress, window, Qt::LeftButton, Qt::NoModifier, ToScene(item, QPoint(x, y)));
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
    RC_TRACE_SCOPE("UIRemoteControl::DoClick");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoClick"), &window, &item))
        return false;
    const QString word = args.value(QStringLiteral("clickbtn")).toString().toLower();
    const bool usePoint = HasPoint(args);
    const QPoint point = usePoint ? ArgPoint(args, "x", "y") : QPoint();
    Qt::MouseButton button = Qt::LeftButton;
    if (word == QLatin1String("right"))
        button = Qt::RightButton;
    else if (word == QLatin1String("mid"))
        button = Qt::MiddleButton;
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    if (WantsActionable(args) &&
        !CheckActionable(args, item, window, usePoint ? ToScene(item, point) : SceneCentre(item), button))
        return false;
    ClickItem(item, window, button, doubleClick, usePoint, point.x(), point.y(), modifiers);
    return true;
}

bool UIRemoteControl::DoHover(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoHover");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoHover"), &window, &item))
        return false;
    if (WantsActionable(args) &&
        !CheckActionable(args, item, window, HasPoint(args) ? ToScene(item, ArgPoint(args, "x", "y")) : SceneCentre(item),
                         Qt::NoButton))
        return false;
    if (HasPoint(args)) {
        const QPoint point = ArgPoint(args, "x", "y");
        HoverOnPointInItem(item, window, point.x(), point.y());
    } else {
        HoverOnItemCenter(item, window);
    }
    return true;
}

bool UIRemoteControl::DoDrag(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoDrag");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoDrag"), &window, &item))
        return false;
    const bool fromTo = args.contains(QStringLiteral("from_x")) && args.contains(QStringLiteral("from_y")) &&
                        args.contains(QStringLiteral("to_x")) && args.contains(QStringLiteral("to_y"));
    if (WantsActionable(args) &&
        !CheckActionable(args, item, window, ToScene(item, fromTo ? ArgPoint(args, "from_x", "from_y") : IntegerCentre(item)),
                         Qt::LeftButton))
        return false;
    if (fromTo)
        DragItem(item, window, ArgPoint(args, "from_x", "from_y"), ArgPoint(args, "to_x", "to_y"));
    else
        DragItemFromCenter(item, window, PointOrIntegerCentre(args, item));
    return true;
}

bool UIRemoteControl::DoDrop(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoDrop");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoDrop"), &window, &item))
        return false;
    const QPoint point = PointOrIntegerCentre(args, item);
    // A release goes to whatever holds the press: only the item and the point are checked.
    if (WantsActionable(args) && !CheckActionable(args, item, window, ToScene(item, point), Qt::LeftButton, false))
        return false;
    DropItem(item, window, point.x(), point.y());
    return true;
}

bool UIRemoteControl::DoPress(const ArgumentMap &args)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoPress");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!FindWindowAndQuickItem(args, QStringLiteral("UIRemoteControl::DoPress"), &window, &item))
        return false;
    const QPoint point = PointOrIntegerCentre(args, item);
    if (WantsActionable(args) && !CheckActionable(args, item, window, ToScene(item, point), Qt::LeftButton))
        return false;
    PressItem(item, window, point.x(), point.y());
    return true;
}

