// The keyboard control: "keyclick".

#include "UIRemoteControl.h"

#include "InputInjector.h"
#include "TraceLog.h"

#include <QWindow>
#include <QtTest/qtestkeyboard.h>

// One key click through the Qt Test library, modifiers unchanged. The key's text is what
// QTest::keyToAscii() gives; codes it does not know (where it would abort) are sent without text.
bool UIRemoteControl::DoKeyClick(const ArgumentMap &args)
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    const int key = args.value(QStringLiteral("key")).toInt();
    const auto modifiers = Qt::KeyboardModifiers(args.value(QStringLiteral("keyboardModifier")).toInt());
    QWindow *window = FindQMLWindow(winName);
    if (!window) {
        RC_ERROR("%s, can not find window object %s", "UIRemoteControl::DoKeyClick", winName.toLocal8Bit().constData());
        SetFailureReason(QStringLiteral("window '%1' not found").arg(winName));
        return false;
    }
    const char ascii = InputInjector::KeyToAsciiKnows(key) ? QTest::keyToAscii(Qt::Key(key)) : char(0);
    // A key handler may close and destroy the window (a dialog on Escape): the click then ends there.
    const InputInjector::Target target(window);
    if (!InputInjector::SendKeyClick(target, key, ascii ? QString(QChar::fromLatin1(ascii)) : QString(), modifiers))
        return ActionInterrupted("UIRemoteControl::DoKeyClick", args, true);
    return true;
}

