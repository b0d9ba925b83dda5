// Extension mode: the control words beyond the twenty, and the reasons of failing controls.
// A message that holds one of the twenty words runs that control whatever else it holds; only a
// message without one is looked at for an extension word. Off, nothing here is reached.

#include "UIRemoteControl.h"

UIRemoteControl::ExtensionHandler UIRemoteControl::FindExtension(const QString &word)
{
    static const QHash<QString, ExtensionHandler> handlers = {
        {QStringLiteral("tree"), &UIRemoteControl::DoTree},
        {QStringLiteral("find"), &UIRemoteControl::DoFind},
        {QStringLiteral("screenshot"), &UIRemoteControl::DoScreenshot},
        {QStringLiteral("typetext"), &UIRemoteControl::DoTypeText},
        {QStringLiteral("wheel"), &UIRemoteControl::DoWheel},
        {QStringLiteral("swipe"), &UIRemoteControl::DoSwipe},
        {QStringLiteral("spy"), &UIRemoteControl::DoSpy},
        {QStringLiteral("spycount"), &UIRemoteControl::DoSpyCount},
        {QStringLiteral("waitspy"), &UIRemoteControl::DoWaitSpy},
        {QStringLiteral("waitprop"), &UIRemoteControl::DoWaitProp},
        {QStringLiteral("waitidle"), &UIRemoteControl::DoWaitIdle},
    };
    return handlers.value(word, nullptr);
}

// Keys are visited in sorted order and a later word overwrites an earlier one, as for the twenty.
void UIRemoteControl::ExtractExtensionWord(const QVariant &request, ParsedMessageInfo &info) const
{
    if (!m_extensions || !info.controlType.isEmpty())
        return;
    const QVariantMap map = request.toMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (FindExtension(it.key())) {
            info.controlType = it.key();
            info.args = it.value().toMap();
        }
    }
}

void UIRemoteControl::SetFailureReason(const QString &reason) const
{
    if (m_failureReason.isEmpty())
        m_failureReason = reason;
}
