// Typing text: "typetext" types any Unicode text, one key press and release per character with
// that character as the event's text, into the item that has keyboard focus in a window.

#include "ControlEngine.h"

#include "InputInjector.h"
#include "TraceLog.h"

#include <QGuiApplication>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

const int kMaxCharacters = 100000;

// The characters of a text as they are typed: code points, so that a surrogate pair (an emoji, a
// rare CJK character) is one key, and a combining accent is a key of its own as on a keyboard.
QStringList Characters(const QString &text)
{
    QStringList characters;
    for (int i = 0; i < text.size(); ++i) {
        const int length = (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) ? 2 : 1;
        characters.append(text.mid(i, length));
        i += length - 1;
    }
    return characters;
}

} // namespace

// "typetext": "text", and "winobjname" (else the default window); with "objname" the item is
// clicked first (when a person could click it) to give it the keyboard focus, in its own window.
bool ControlEngine::DoTypeText(const ArgumentMap &args, QVariant &)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoTypeText");
    const QVariant textValue = args.value(QStringLiteral("text"));
    if (textValue.userType() != QMetaType::QString) {
        SetFailureReason(QStringLiteral("typetext needs a \"text\" string"));
        return false;
    }
    // About two minutes of typing: longer texts would hold the queue for every client too long.
    if (textValue.toString().size() > kMaxCharacters) {
        SetFailureReason(QStringLiteral("typetext types at most %1 characters at a time").arg(kMaxCharacters));
        return false;
    }
    QWindow *window = nullptr;
    if (args.contains(QStringLiteral("objname")) || args.contains(QStringLiteral("handle"))) {
        QQuickItem *item = nullptr;
        if (!ResolveActionTarget(args, &window, &item))
            return false;
        BringIntoView(item);
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        if (!CheckActionable(args, item, window, centre, Qt::LeftButton))
            return false;
        const InputInjector::Target target(window, item);
        if (!InputInjector::SendMouseEvent(QTest::MouseClick, target, Qt::LeftButton, Qt::NoModifier, centre.toPoint()))
            return ActionInterrupted("UIRemoteControl::DoTypeText", args, target.WindowGone());
        // The click may have destroyed the window (its item is not needed any more).
        if (target.WindowGone())
            return ActionInterrupted("UIRemoteControl::DoTypeText", args, true);
        window = target.Window();
    } else {
        const QString winName = args.value(QStringLiteral("winobjname")).toString();
        window = winName.isEmpty() ? m_window.data() : WindowNamed(winName);
        if (!window) {
            SetFailureReason(winName.isEmpty() ? QStringLiteral("there is no default window")
                                               : QStringLiteral("no window is named \"%1\"").arg(winName));
            return false;
        }
    }
    auto *quickWindow = qobject_cast<QQuickWindow *>(window);
    if (!window->isExposed()) {
        SetFailureReason(QStringLiteral("the window %1 is not exposed").arg(WindowName(window)));
        return false;
    }
    // The content item holds the focus when no item does: keys would reach nothing.
    if (!quickWindow || !quickWindow->activeFocusItem() || quickWindow->activeFocusItem() == quickWindow->contentItem()) {
        SetFailureReason(QStringLiteral("no item has the keyboard focus in the window %1").arg(WindowName(window)));
        return false;
    }
    const InputInjector::Target target(window);
    const QStringList characters = Characters(textValue.toString());
    for (int i = 0; i < characters.size(); ++i) {
        // A key may close and destroy the window; typing ends there.
        if (!InputInjector::SendCharacter(target, characters.at(i)) || (i + 1 < characters.size() && target.WindowGone())) {
            RC_ERROR("%s, the window was destroyed during the action", "UIRemoteControl::DoTypeText");
            SetFailureReason(QStringLiteral("the window was destroyed while typing"));
            return false;
        }
    }
    return true;
}
