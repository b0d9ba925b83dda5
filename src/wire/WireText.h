#pragma once
// The bytes of the wire, parsed and produced without a detour through QString.
//
// The server's messages and replies are UTF-8. ParseJSON and SerializeJSON take and give QString
// text; on the wire that meant UTF-8 -> QString -> UTF-8 for every message and every reply. For
// UTF-8 that decodes and encodes back to the same bytes, the detour changes nothing and is
// skipped; anything else (invalid sequences, a leading byte order mark, noncharacters) still
// takes it, so that such bytes are replaced exactly as before.

#include "UIRemoteControlGlobal.h"

#include <QByteArray>
#include <QVariant>

namespace WireText {

// True when the bytes are certain to come back unchanged from QString::fromUtf8 and toUtf8:
// well-formed UTF-8 (ASCII and NUL included) with no leading byte order mark, no surrogate and
// no noncharacter.
UIREMOTECONTROL_EXPORT bool RoundTripsUnchanged(const char *data, int size);

// Parses one message as ParseJSON(QString::fromUtf8(bytes), result) would.
UIREMOTECONTROL_EXPORT bool ParseMessage(const QByteArray &bytes, QVariant &result);

// The UTF-8 bytes of SerializeJSON's text (empty when it fails).
UIREMOTECONTROL_EXPORT QByteArray SerializeMessage(const QVariant &value);

} // namespace WireText
