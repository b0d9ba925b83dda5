#pragma once
// The input injector: mouse and key events delivered to a window exactly as the Qt Test library
// delivers them, without its ways of ending the process. Used by the pointer and key controls.

#include <QPoint>
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

} // namespace InputInjector
