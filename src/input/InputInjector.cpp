// The input injector: mouse and key events delivered to a window the way the Qt Test library
// delivers them. The one place that knows Qt's event internals.

#include "InputInjector.h"

#include "QtCompat.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPointer>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest/qtestkeyboard.h>
#include <QtTest/qtestmouse.h>

#include <cmath>

namespace QTest {
Q_TESTLIB_EXPORT int defaultMouseDelay();
}

namespace InputInjector {

// Delivers one mouse action to a window exactly as the Qt Test library's mouseEvent() for a
// QWindow does (same event sequence, buttons, time stamps, default delay and shared button
// state), except that modifier bits outside Qt::KeyboardModifierMask are dropped instead of
// aborting the process: a client must never be able to end the application. Handlers run while
// the events are delivered, and the default delay runs the event loop: before each event the
// target is checked again, so that nothing is sent to, or read from, a destroyed window.
bool SendMouseEvent(QTest::MouseAction action, const Target &target, Qt::MouseButton button,
                    Qt::KeyboardModifiers stateKey, QPoint pos, int delay)
{
    if (!target.Alive())
        return false;
    const QSize windowSize = target.Window()->geometry().size();
    if (windowSize.width() <= pos.x() || windowSize.height() <= pos.y()) {
        qWarning("%s", qPrintable(QString::fromLatin1("Mouse event at %1, %2 occurs outside of target window (%3x%4).")
                                      .arg(pos.x())
                                      .arg(pos.y())
                                      .arg(windowSize.width())
                                      .arg(windowSize.height())));
    }
    if (delay == -1 || delay < QTest::defaultMouseDelay())
        delay = QTest::defaultMouseDelay();
    if (delay > 0) {
        QTest::qWait(delay);
        QTest::lastMouseTimestamp += delay;
        if (!target.Alive())
            return false;
    }
    QWindow *window = target.Window();
    if (pos.isNull())
        pos = QPoint(window->width() / 2, window->height() / 2);
    stateKey &= static_cast<unsigned int>(Qt::KeyboardModifierMask);

    const QPointF global = window->mapToGlobal(pos);
    Qt::MouseButtons &buttons = QTestPrivate::qtestMouseButtons;
    bool first = true;
    // Sends one event of the sequence; false, sending nothing, once the target is gone.
    const auto send = [&](Qt::MouseButton which, QEvent::Type type) {
        if (!first && !target.Alive())
            return false;
        first = false;
        if (type == QEvent::MouseButtonPress)
            buttons.setFlag(which, true);
        else if (type == QEvent::MouseButtonRelease)
            buttons.setFlag(which, false);
        qt_handleMouseEvent(target.Window(), pos, global, buttons, which, type, stateKey, ++QTest::lastMouseTimestamp);
        return true;
    };
    // A press whose sequence was cut short is released, so that no button stays held.
    const auto interrupted = [&] {
        if (buttons.testFlag(button))
            ReleaseHeldButton(target, button, pos);
        return false;
    };
    switch (action) {
    case QTest::MouseDClick:
        if (!send(button, QEvent::MouseButtonPress))
            return interrupted();
        if (!send(button, QEvent::MouseButtonRelease))
            return interrupted();
        Q_FALLTHROUGH();
    case QTest::MousePress:
    case QTest::MouseClick:
        if (!send(button, QEvent::MouseButtonPress))
            return interrupted();
        QtCompat::SetLastMouseButton(button);
        if (action == QTest::MousePress)
            break;
        Q_FALLTHROUGH();
    case QTest::MouseRelease:
        if (!send(button, QEvent::MouseButtonRelease))
            return interrupted();
        QTest::lastMouseTimestamp += QTest::mouseDoubleClickInterval; // no accidental double clicks
        QtCompat::SetLastMouseButton(Qt::NoButton);
        break;
    case QTest::MouseMove:
        send(Qt::NoButton, QEvent::MouseMove);
        break;
    }
    qApp->processEvents();
    return true;
}

void ReleaseHeldButton(const Target &target, Qt::MouseButton button, QPoint pos)
{
    Qt::MouseButtons &buttons = QTestPrivate::qtestMouseButtons;
    buttons.setFlag(button, false);
    QtCompat::SetLastMouseButton(Qt::NoButton);
    if (QWindow *window = target.Window()) {
        qt_handleMouseEvent(window, pos, window->mapToGlobal(pos), buttons, button, QEvent::MouseButtonRelease,
                            Qt::NoModifier, ++QTest::lastMouseTimestamp);
        QTest::lastMouseTimestamp += QTest::mouseDoubleClickInterval;
        qApp->processEvents();
    }
}

QString KeyText(int key)
{
    const char ascii = KeyToAsciiKnows(key) ? QTest::keyToAscii(Qt::Key(key)) : char(0);
    return ascii ? QString(QChar::fromLatin1(ascii)) : QString();
}

bool KeyToAsciiKnows(int key)
{
    if ((key >= 0x20 && key <= 0x60) || (key >= 0x7b && key <= 0x7e) || (key >= 0xa0 && key <= 0xdf) ||
        key == 0xf7 || key == 0xff)
        return true;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return true;
    switch (key) {
    case Qt::Key_Backspace: case Qt::Key_Tab: case Qt::Key_Backtab: case Qt::Key_Enter: case Qt::Key_Return: case Qt::Key_Escape:
    case Qt::Key_Delete: case Qt::Key_Insert: case Qt::Key_Pause: case Qt::Key_Print: case Qt::Key_SysReq:
    case Qt::Key_Clear: case Qt::Key_Home: case Qt::Key_End: case Qt::Key_Left: case Qt::Key_Up:
    case Qt::Key_Right: case Qt::Key_Down: case Qt::Key_PageUp: case Qt::Key_PageDown: case Qt::Key_Shift:
    case Qt::Key_Control: case Qt::Key_Meta: case Qt::Key_Alt: case Qt::Key_CapsLock: case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
        return true;
    default:
        return false;
    }
}

// One key click into a window, delivered exactly as QTest::sendKeyEvent(QTest::Click, ...) does
// for a QWindow (modifier keys pressed before and released after the key, the same event
// arguments, events processed after each), except that the key code stays an int: a client's
// code outside the range of Qt::Key (such as 0x7fffffff) must not be made a Qt::Key, which is
// undefined behaviour.
bool SendKeyClick(const Target &target, int key, const QString &text, Qt::KeyboardModifiers modifier)
{
    // QTest hands its delay (-1) on as the event's count; keep that. Each event is followed by
    // event processing, which may destroy the window: nothing is sent after that.
    bool complete = true;
    const auto send = [&target, &complete](bool press, int code, Qt::KeyboardModifiers mods, const QString &keyText) {
        if (!complete || !target.Alive()) {
            complete = false;
            return;
        }
        qt_handleKeyEvent(target.Window(), press ? QEvent::KeyPress : QEvent::KeyRelease, code, mods, keyText, false,
                          ushort(-1));
        qApp->processEvents();
    };
    const Qt::KeyboardModifiers shift = modifier & Qt::ShiftModifier;
    const Qt::KeyboardModifiers shiftControl = modifier & (Qt::ShiftModifier | Qt::ControlModifier);
    const Qt::KeyboardModifiers shiftControlAlt = modifier & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier);

    if (modifier & Qt::ShiftModifier)
        send(true, Qt::Key_Shift, Qt::KeyboardModifiers(), QString());
    if (modifier & Qt::ControlModifier)
        send(true, Qt::Key_Control, shift, QString());
    if (modifier & Qt::AltModifier)
        send(true, Qt::Key_Alt, shiftControl, QString());
    if (modifier & Qt::MetaModifier)
        send(true, Qt::Key_Meta, shiftControlAlt, QString());
    send(true, key, modifier, text);

    send(false, key, modifier, text);
    if (modifier & Qt::MetaModifier)
        send(false, Qt::Key_Meta, modifier, QString());
    if (modifier & Qt::AltModifier)
        send(false, Qt::Key_Alt, shiftControlAlt, QString());
    if (modifier & Qt::ControlModifier)
        send(false, Qt::Key_Control, shiftControl, QString());
    if (modifier & Qt::ShiftModifier)
        send(false, Qt::Key_Shift, shift, QString());
    return complete;
}

namespace {

// A point as whole window pixels. Points far outside any window are brought to the edge of the
// range that converts, as the event's position could not hold them anyway.
QPoint WholePoint(const QPointF &point)
{
    const auto whole = [](qreal value) {
        return std::isfinite(value) ? qRound(qBound(qreal(-1e9), value, qreal(1e9))) : 0;
    };
    return QPoint(whole(point.x()), whole(point.y()));
}

// The screen point of a window point, its fraction kept.
QPointF GlobalPoint(QWindow *window, const QPointF &pos)
{
    const QPoint whole = WholePoint(pos);
    return window->mapToGlobal(whole) + (pos - QPointF(whole));
}

// The key code a keyboard gives for a character: the control keys by name, else the character's
// upper-case code point (Qt::Key_A for "a", Qt::Key_Eacute for "é", the code point itself for
// characters without case).
int KeyForCharacter(uint ucs4)
{
    switch (ucs4) {
    case '\n': case '\r': return Qt::Key_Return;
    case '\t': return Qt::Key_Tab;
    case '\b': return Qt::Key_Backspace;
    case 0x1b: return Qt::Key_Escape;
    case 0x7f: return Qt::Key_Delete;
    default: return int(QChar::toUpper(ucs4));
    }
}

} // namespace

bool SendCharacter(const Target &target, const QString &character)
{
    const QVector<uint> codes = character.toUcs4();
    const int key = codes.isEmpty() ? 0 : KeyForCharacter(codes.first());
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        if (!target.Alive())
            return false;
        qt_handleKeyEvent(target.Window(), type, key, Qt::NoModifier, character, false, 1);
        qApp->processEvents();
    }
    return true;
}

bool SendWheel(const Target &target, QPointF pos, QPoint angleDelta, QPoint pixelDelta, Qt::KeyboardModifiers modifiers)
{
    if (!target.Alive())
        return false;
    QWindow *window = target.Window();
    modifiers &= static_cast<unsigned int>(Qt::KeyboardModifierMask);
    const QPointF global = GlobalPoint(window, pos);
    QWheelEvent event(pos, global, pixelDelta, angleDelta, QTestPrivate::qtestMouseButtons, modifiers,
                      Qt::NoScrollPhase, false, Qt::MouseEventNotSynthesized);
    event.setTimestamp(ulong(++QTest::lastMouseTimestamp));
    QGuiApplication::sendEvent(window, &event);
    qApp->processEvents();
    return true;
}

bool SendSwipe(const Target &target, Qt::MouseButton button, QPointF from, QPointF to, int steps, int durationMs)
{
    steps = qMax(1, steps);
    durationMs = qMax(0, durationMs);
    Qt::MouseButtons &buttons = QTestPrivate::qtestMouseButtons;
    bool complete = true;
    QPointF last = from;
    const auto send = [&](QEvent::Type type, Qt::MouseButton which, const QPointF &pos, int stamp) {
        if (!complete || !target.Alive()) {
            complete = false;
            return;
        }
        QWindow *window = target.Window();
        const QPointF global = GlobalPoint(window, pos);
        qt_handleMouseEvent(window, pos, global, buttons, which, type, Qt::NoModifier, stamp);
        last = pos;
        qApp->processEvents();
    };

    const int start = ++QTest::lastMouseTimestamp;
    buttons.setFlag(button, true);
    send(QEvent::MouseButtonPress, button, from, start);
    QtCompat::SetLastMouseButton(button);
    QElapsedTimer clock;
    clock.start();
    for (int i = 1; i <= steps; ++i) {
        const qreal share = qreal(i) / steps;
        const int due = qRound(durationMs * share);
        if (clock.elapsed() < due)
            QTest::qWait(int(due - clock.elapsed()));
        if (!complete || !target.Alive())
            break;
        // At least one unit apart, so that no two moves share a time stamp.
        send(QEvent::MouseMove, Qt::NoButton, from + (to - from) * share, start + qMax(due, i));
    }
    if (!complete || !target.Alive()) {
        ReleaseHeldButton(target, button, WholePoint(last));
        return false;
    }
    const int end = start + qMax(durationMs, steps) + 1;
    buttons.setFlag(button, false);
    send(QEvent::MouseButtonRelease, button, to, end);
    QTest::lastMouseTimestamp = end + QTest::mouseDoubleClickInterval; // no accidental double clicks
    QtCompat::SetLastMouseButton(Qt::NoButton);
    return true;
}

} // namespace InputInjector
