// The keyboard control: "keyclick".

#include "UIRemoteControl.h"

#include "ControlEngine.h"

#include "InputInjector.h"
#include "TraceLog.h"

#include <QWindow>

// One key click as the Qt Test library types it, modifiers unchanged. The key's text is what
// Qt Test's keyToAscii() gives; codes it does not know (where it would abort) are sent without text.
bool UIRemoteControl::DoKeyClick(const ArgumentMap &args)
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    const int key = args.value(QStringLiteral("key")).toInt();
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    QWindow *window = FindQMLWindow(winName);
    if (!window) {
        RC_FIXED_ERROR("%s, can not find window object %s", "UIRemoteControl::DoKeyClick", winName.toLocal8Bit().constData());
        m_engine->SetFailureReason(QStringLiteral("window '%1' not found").arg(winName));
        return false;
    }
    // A key handler may close and destroy the window (a dialog on Escape): the click then ends there.
    const InputInjector::Target target(window);
    if (!InputInjector::SendKeyClick(target, key, InputInjector::KeyText(key), modifiers))
        return m_engine->ActionInterrupted("UIRemoteControl::DoKeyClick", args, true);
    return true;
}

