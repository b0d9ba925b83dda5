// ControlEngine (ControlEngine.h): extension mode's state, the extension word of a request and
// the reasons of failing controls. Its handlers live with the controls they implement.

#include "ControlEngine.h"

#include "ControlTable.h"

ControlEngine::ControlEngine(UIRemoteControl &control)
    : q(control), m_root(control.m_root), m_window(control.m_window), m_context(control.m_context)
{
}

ControlEngine::~ControlEngine() = default;

// Keys are visited in sorted order and a later word overwrites an earlier one, as for the twenty.
// A message that holds one of the twenty words runs that control whatever else it holds.
void ControlEngine::ExtractExtensionWord(const QVariant &request, ParsedMessageInfo &info) const
{
    if (!m_extensions || !info.controlType.isEmpty())
        return;
    const QVariantMap map = request.toMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (ControlTable::Find(it.key(), true)) {
            info.controlType = it.key();
            info.args = it.value().toMap();
        }
    }
}

void ControlEngine::SetFailureReason(const QString &reason) const
{
    if (m_failureReason.isEmpty())
        m_failureReason = reason;
}

QString ControlEngine::TakeFailureReason() const
{
    QString reason;
    reason.swap(m_failureReason);
    return reason;
}
