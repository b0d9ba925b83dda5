#pragma once
// The input injector: mouse and key events delivered to a window exactly as the Qt Test library
// delivers them, without its ways of ending the process. Used by the pointer and key controls.

#include <QPoint>
#include <QPointF>
#include <QString>
#include <QtTest/qtestmouse.h>

class QWindow;

namespace InputInjector {

// One mouse action, as QTest::mouseEvent() for a QWindow: same event sequence, buttons, time
// stamps, default delay and shared button state. Modifier bits outside Qt::KeyboardModifierMask
// are dropped instead of aborting.
void SendMouseEvent(QTest::MouseAction action, QWindow *window, Qt::MouseButton button,
                    Qt::KeyboardModifiers stateKey, QPoint pos, int delay = -1);

// True for the key codes that QTest::keyToAscii() knows; for any other code it would abort.
bool KeyToAsciiKnows(int key);

// One key click, as QTest::sendKeyEvent(QTest::Click, ...) for a QWindow, with the key code kept
// an int.
void SendKeyClick(QWindow *window, int key, const QString &text, Qt::KeyboardModifiers modifier);

// One character typed as on a keyboard whose layout has it: a press and a release without
// modifiers whose text is the character itself (a surrogate pair is one character). The key
// code is the one Qt gives for that character ("\n" is Return, "\t" Tab).
void SendCharacter(QWindow *window, const QString &character);

// A mouse wheel turned by angleDelta (eighths of a degree) over the scene point pos; pixelDelta
// is sent as well when it is not null.
void SendWheel(QWindow *window, QPointF pos, QPoint angleDelta, QPoint pixelDelta,
              Qt::KeyboardModifiers modifiers);

// A gesture: a press at from, `steps` moves spread evenly to `to` over `durationMs`, and a
// release there. The events carry time stamps that advance exactly by the planned intervals
// (whatever the load of the machine), so the velocity Qt's flickables and drawers compute from
// them, and with it the gesture's outcome, is the same on every run. The moves are also paced in
// real time, so that timers and animations see a gesture of that length.
void SendSwipe(QWindow *window, Qt::MouseButton button, QPointF from, QPointF to, int steps, int durationMs);

} // namespace InputInjector
