#pragma once
// The input injector: mouse and key events delivered to a window exactly as the Qt Test library
// delivers them, without its ways of ending the process. Used by the pointer and key controls.

#include <QPoint>
#include <QPointF>
#include <QPointer>
#include <QString>
#include <QWindow>
#include <QtTest/qtestmouse.h>

namespace InputInjector {

// What a sequence of events goes to: a window and, for actions aimed at an item, that item.
// The events themselves may destroy either (a popup that closes and destroys itself on press, a
// dialog that destroys its window on Escape), so a sequence checks between its events that
// both still exist and sends nothing more once one is gone.
class Target {
public:
    explicit Target(QWindow *window, QObject *item = nullptr)
        : m_window(window), m_item(item), m_hasItem(item != nullptr)
    {
    }
    QWindow *Window() const { return m_window.data(); }
    bool WindowGone() const { return m_window.isNull(); }
    bool Alive() const { return m_window && (!m_hasItem || m_item); }

private:
    QPointer<QWindow> m_window;
    QPointer<QObject> m_item;
    bool m_hasItem;
};

// One mouse action, as QTest::mouseEvent() for a QWindow: same event sequence, buttons, time
// stamps, default delay and shared button state. Modifier bits outside Qt::KeyboardModifierMask
// are dropped instead of aborting. False when the target was gone before the action's last
// event: the rest is not sent, except that a button the action pressed is released in the
// window when the window still exists, so that no button stays held.
bool SendMouseEvent(QTest::MouseAction action, const Target &target, Qt::MouseButton button,
                    Qt::KeyboardModifiers stateKey, QPoint pos, int delay = -1);

// Releases a button that an interrupted sequence left pressed: in the window at pos when the
// window still exists, and in the shared button state in any case.
void ReleaseHeldButton(const Target &target, Qt::MouseButton button, QPoint pos);

// True for the key codes that QTest::keyToAscii() knows; for any other code it would abort.
bool KeyToAsciiKnows(int key);

// The text a key click of this code carries: what QTest::keyToAscii() gives, or none for a code
// it does not know (where it would abort).
QString KeyText(int key);

// One key click, as QTest::sendKeyEvent(QTest::Click, ...) for a QWindow, with the key code kept
// an int. False when the window was destroyed before the last event (a key handler that closes
// and destroys its dialog): the rest is not sent.
bool SendKeyClick(const Target &target, int key, const QString &text, Qt::KeyboardModifiers modifier);

// One character typed as on a keyboard whose layout has it: a press and a release without
// modifiers whose text is the character itself (a surrogate pair is one character). The key
// code is the one Qt gives for that character ("\n" is Return, "\t" Tab). False when the
// window was destroyed before the release.
bool SendCharacter(const Target &target, const QString &character);

// A mouse wheel turned by angleDelta (eighths of a degree) over the scene point pos; pixelDelta
// is sent as well when it is not null. False, sending nothing, when the target is gone.
bool SendWheel(const Target &target, QPointF pos, QPoint angleDelta, QPoint pixelDelta,
               Qt::KeyboardModifiers modifiers);

// A gesture: a press at from, `steps` moves spread evenly to `to` over `durationMs`, and a
// release there. The events carry time stamps that advance exactly by the planned intervals
// (whatever the load of the machine), so the velocity Qt's flickables and drawers compute from
// them, and with it the gesture's outcome, is the same on every run. The moves are also paced in
// real time, so that timers and animations see a gesture of that length. False when the target
// was gone before the release (the held button is then released as ReleaseHeldButton does).
bool SendSwipe(const Target &target, Qt::MouseButton button, QPointF from, QPointF to, int steps, int durationMs);

} // namespace InputInjector
