// Dispatch: a parsed message to the handler its word has in the control table (ControlTable.h),
// for the server and for the in-process call alike; no socket, reply or delay here.

#include "UIRemoteControl.h"

#include "ControlEngine.h"
#include "ControlTable.h"

#include "Limits.h"
#include "TraceLog.h"

#include <QJSValue>
#include <QStringList>

#include <algorithm>

bool UIRemoteControl::controlObject(const QVariant &request, QVariant &retValue)
{
    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);
    m_engine->ExtractExtensionWord(request, info);
    return Action(info, retValue);
}

namespace {

bool NamesAnObject(const ControlRow &row)
{
    static const QStringList listing = {QStringLiteral("tree"), QStringLiteral("find"), QStringLiteral("waitsignal")};
    if (listing.contains(QLatin1String(row.word)))
        return false;
    return std::any_of(row.args.begin(), row.args.end(),
                       [](const ControlArgument &argument) { return qstrcmp(argument.key, "objname") == 0; });
}

} // namespace

bool UIRemoteControl::Action(const ParsedMessageInfo &info, QVariant &value)
{
    m_engine->ClearFailureReason();
    const ControlRow *row = ControlTable::Find(info.controlType, m_engine->m_extensions);
    if (!row) {
        RC_FIXED_ERROR("%s, control type not support", "UIRemoteControl::Action");
        value = QVariant();
        return false;
    }
    m_engine->m_missedObject = false;
    bool result = row->handler(*this, info.args, value);
    // In extension mode an object a view has not created yet is scrolled to, as a person would
    // (controls/Scrolling.cpp), and the control runs again; "tree" and "find" list what exists,
    // and "waitsignal" also names context properties.
    if (!result && m_engine->m_missedObject && NamesAnObject(*row) && m_engine->RevealNamedObject(info.args)) {
        m_engine->ClearFailureReason();
        value = QVariant();
        result = row->handler(*this, info.args, value);
    }
    // A value too deep to convert fails the control instead of overflowing the stack.
    if (value.isValid() && !m_engine->CheckNesting(value, "UIRemoteControl::Action")) {
        value = QVariant();
        return false;
    }
    // Script values (returned by QML functions) become plain variants so the reply can hold them.
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    return result;
}

void UIRemoteControl::setExtensionsEnabled(bool enabled)
{
    m_engine->m_extensions = enabled;
}

bool UIRemoteControl::extensionsEnabled() const
{
    return m_engine->m_extensions;
}

bool ControlEngine::CheckNesting(const QVariant &value, const char *function) const
{
    if (Limits::WithinNesting(value))
        return true;
    RC_ERROR("%s, value nested deeper than %d levels", function, Limits::kMaxNesting);
    SetFailureReason(QStringLiteral("the value is nested deeper than %1 levels").arg(Limits::kMaxNesting));
    return false;
}
