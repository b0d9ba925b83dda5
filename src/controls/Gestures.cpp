// Gestures: "wheel" turns the mouse wheel over an item, "swipe" presses, moves in timed steps and
// releases, as a finger or a mouse does. Both act only on an actionable item.

#include "ControlEngine.h"

#include "InputInjector.h"
#include "TraceLog.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>
#include <QQuickItem>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace {

const int kNotch = 120; // one notch of a mouse wheel: 15 degrees, in eighths of a degree

Qt::MouseButton ButtonOf(const ArgumentMap &args)
{
    const QString word = args.value(QStringLiteral("button")).toString().toLower();
    if (word == QLatin1String("right"))
        return Qt::RightButton;
    if (word == QLatin1String("mid") || word == QLatin1String("middle"))
        return Qt::MiddleButton;
    return Qt::LeftButton;
}

// A point of an item: [x, y], {"x": x, "y": y}, or a word naming the centre or a place on the
// edge, one unit inside it: "center", "left", "right", "top", "bottom", "topleft", "topright",
// "bottomleft", "bottomright".
bool ItemPoint(const QVariant &value, const QQuickItem *item, QPointF *point)
{
    const qreal w = item->width(), h = item->height();
    if (value.userType() == QMetaType::QString) {
        const QString word = value.toString().toLower();
        qreal x = w / 2, y = h / 2;
        if (word.contains(QLatin1String("left")))
            x = qMin(1.0, w / 2);
        if (word.contains(QLatin1String("right")))
            x = qMax(w - 1, w / 2);
        if (word.contains(QLatin1String("top")))
            y = qMin(1.0, h / 2);
        if (word.contains(QLatin1String("bottom")))
            y = qMax(h - 1, h / 2);
        static const QStringList words = {"center", "centre", "left", "right", "top", "bottom",
                                          "topleft", "topright", "bottomleft", "bottomright"};
        *point = QPointF(x, y);
        return words.contains(word);
    }
    const QVariantList list = value.toList();
    if (list.size() == 2) {
        *point = QPointF(list.at(0).toDouble(), list.at(1).toDouble());
        return true;
    }
    const QVariantMap map = value.toMap();
    if (map.contains(QStringLiteral("x")) && map.contains(QStringLiteral("y"))) {
        *point = QPointF(map.value(QStringLiteral("x")).toDouble(), map.value(QStringLiteral("y")).toDouble());
        return true;
    }
    return false;
}

// Points far beyond any screen are refused: their window positions could not be made integers.
bool Finite(const QPointF &point)
{
    const qreal limit = 1e6;
    return std::isfinite(point.x()) && std::isfinite(point.y()) && qAbs(point.x()) <= limit && qAbs(point.y()) <= limit;
}

// How long one notch's flick may glide before the next notch turns the wheel again.
const int kSettleMs = 3000;

// Lets the flicks a notch started in the views under the item run out, so that the next notch
// starts from rest as a person's next notch does: up to Qt 6.5, Flickable adds the velocity of a
// glide still under way to a notch's own (wheel acceleration), and notches sent back to back end
// as one long fling (one notch 72 px, three 1106 px on a plain ListView under 5.15). From 6.6 a
// notch scrolls a distance in proportion to its angle, and the wait changes nothing there.
void LetFlicksSettle(QQuickItem *item)
{
    QList<QPointer<QQuickItem>> views;
    for (QQuickItem *up = item; up; up = up->parentItem()) {
        if (up->inherits("QQuickFlickable"))
            views.append(up);
    }
    const auto moving = [&views] {
        return std::any_of(views.begin(), views.end(), [](const QPointer<QQuickItem> &view) {
            return view && view->property("moving").toBool();
        });
    };
    QElapsedTimer elapsed;
    elapsed.start();
    while (moving() && elapsed.elapsed() < kSettleMs) {
        QEventLoop loop;
        QTimer::singleShot(int(kSettleMs - elapsed.elapsed()), &loop, &QEventLoop::quit);
        for (const QPointer<QQuickItem> &view : views) {
            if (view)
                QObject::connect(view.data(), SIGNAL(movingChanged()), &loop, SLOT(quit()));
        }
        loop.exec();
    }
}

} // namespace

// "wheel": "objname", optional "x", "y" (item coordinates, else the centre), "dx", "dy" in
// degrees (positive dy turns the wheel away from the user: content scrolls back up), optional
// "keyboardModifier". Sent one notch (15 degrees) per event, as a wheel does.
bool ControlEngine::DoWheel(const ArgumentMap &args, QVariant &)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWheel");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!ResolveActionTarget(args, &window, &item))
        return false;
    BringIntoView(item);
    QPointF local(item->width() / 2, item->height() / 2);
    if (args.contains(QStringLiteral("x")) && args.contains(QStringLiteral("y")))
        local = QPointF(args.value(QStringLiteral("x")).toDouble(), args.value(QStringLiteral("y")).toDouble());
    const qreal dx = args.value(QStringLiteral("dx")).toDouble(), dy = args.value(QStringLiteral("dy")).toDouble();
    if (!Finite(local) || !std::isfinite(dx) || !std::isfinite(dy) || qAbs(dx) > 36000 || qAbs(dy) > 36000 ||
        (qRound(dx * 8) == 0 && qRound(dy * 8) == 0)) {
        SetFailureReason(QStringLiteral("wheel needs \"dx\" or \"dy\" in degrees (at most 36000)"));
        return false;
    }
    const QPointF scenePoint = item->mapToScene(local);
    if (!Finite(scenePoint)) {
        SetFailureReason(QStringLiteral("%1 is outside the window").arg(ArgumentsPath(args)));
        return false;
    }
    if (!CheckActionable(args, item, window, scenePoint, Qt::NoButton))
        return false;
    const QPoint total(qRound(dx * 8), qRound(dy * 8));
    const int notches = qMax(1, (qMax(qAbs(total.x()), qAbs(total.y())) + kNotch - 1) / kNotch);
    // Platforms whose wheel events also carry pixels report 10 pixels per notch.
    const QString platform = QGuiApplication::platformName();
    const bool pixels = platform == QLatin1String("cocoa") || platform.startsWith(QLatin1String("wayland"));
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    const InputInjector::Target target(window, item);
    QPoint sent;
    for (int i = 1; i <= notches; ++i) {
        const QPoint upTo(total.x() * i / notches, total.y() * i / notches);
        const QPoint angle = upTo - sent;
        sent = upTo;
        const QPoint pixel = pixels ? QPoint(angle.x() / 12, angle.y() / 12) : QPoint();
        // A notch may destroy the item or its window: the turn ends there.
        if (!InputInjector::SendWheel(target, scenePoint, angle, pixel, modifiers))
            return ActionInterrupted("UIRemoteControl::DoWheel", args, target.WindowGone());
        if (i < notches) {
            if (target.Alive())
                LetFlicksSettle(item);
            if (!target.Alive())
                return ActionInterrupted("UIRemoteControl::DoWheel", args, target.WindowGone());
        }
    }
    return true;
}

// "swipe": "objname", "from", "to" (item points, see ItemPoint), optional "steps" (10),
// "duration" in ms (200) and "button" (left).
bool ControlEngine::DoSwipe(const ArgumentMap &args, QVariant &)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoSwipe");
    QWindow *window = nullptr;
    QQuickItem *item = nullptr;
    if (!ResolveActionTarget(args, &window, &item))
        return false;
    BringIntoView(item);
    QPointF from, to;
    if (!ItemPoint(args.value(QStringLiteral("from")), item, &from) || !ItemPoint(args.value(QStringLiteral("to")), item, &to) ||
        !Finite(from) || !Finite(to)) {
        SetFailureReason(QStringLiteral("swipe needs \"from\" and \"to\": [x, y], {\"x\", \"y\"} or a place such as \"left\""));
        return false;
    }
    const int steps = args.value(QStringLiteral("steps"), 10).toInt();
    const int duration = args.value(QStringLiteral("duration"), 200).toInt();
    if (steps < 1 || steps > 1000 || duration < 0 || duration > 60000) {
        SetFailureReason(QStringLiteral("swipe takes 1 to 1000 \"steps\" and a \"duration\" of 0 to 60000 ms"));
        return false;
    }
    const Qt::MouseButton button = ButtonOf(args);
    const QPointF sceneFrom = item->mapToScene(from), sceneTo = item->mapToScene(to);
    if (!Finite(sceneFrom) || !Finite(sceneTo)) { // an item scaled far beyond any screen
        SetFailureReason(QStringLiteral("the swipe on %1 is outside the window").arg(ArgumentsPath(args)));
        return false;
    }
    if (!CheckActionable(args, item, window, sceneFrom, button))
        return false;
    const InputInjector::Target target(window, item);
    if (!InputInjector::SendSwipe(target, button, sceneFrom, sceneTo, steps, duration))
        return ActionInterrupted("UIRemoteControl::DoSwipe", args, target.WindowGone());
    return true;
}
