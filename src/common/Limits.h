#pragma once
// The bounds that keep one message or one client from taking the application down: how deeply
// a value may nest to be converted at all, how much reply data a client may leave unread, and
// how long the server stops accepting when the process runs out of descriptors.

#include <QtGlobal>

class QJSValue;
class QVariant;

namespace Limits {

// Lists, maps, script arrays and script objects nest at most this many levels in a reply value
// or in a value to write ([[0]] nests two). Deeper values are refused before they are converted:
// the conversions recurse once per level (a value 20,000 levels deep overflows the stack), and
// indented JSON grows with the square of the depth.
const int kMaxNesting = 256;

// A client may leave at most this many bytes of replies unsent (64 MiB, counting the reply
// about to be written); past that it is disconnected. A single larger reply still goes to a
// client that has read everything before it.
const qint64 kMaxUnsentOutput = qint64(64) * 1024 * 1024;

// When accepting a connection fails for want of resources (no file descriptor left), the server
// stops accepting for this many milliseconds and then tries again. Without the pause it would
// be woken at once by the same waiting connection, fail again, and spin.
const int kAcceptPauseMs = 200;

// True when value nests no deeper than kMaxNesting. Script values are looked into without being
// converted; a value that holds itself counts as too deep.
bool WithinNesting(const QVariant &value);
bool WithinNesting(const QJSValue &value);

} // namespace Limits
