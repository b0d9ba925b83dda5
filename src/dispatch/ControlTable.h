#pragma once
// The table of controls: every control word, once, with its handler, whether it is an extension
// word, its arguments and what its reply holds. Dispatch runs a message through the row of its
// word; "describe" hands the rows to clients as data, and the Python client, its command line and
// its MCP tools are checked against them.

#include "UIRemoteControl.h"

#include <QVariant>

#include <vector>

struct ControlArgument {
    const char *key;      // the key in the argument map
    const char *alias;    // the name clients give it in their own calls ("path" for objname)
    const char *type;     // JSON type: string, integer, number, boolean, array, object, point, any
    const char *fallback; // the default as JSON text, or nullptr when absence has its own meaning
    const char *meaning;
    bool required;
};

struct ControlRow {
    using Handler = bool (*)(UIRemoteControl &control, const ArgumentMap &args, QVariant &value);
    const char *word;      // the control word on the wire
    const char *name;      // the client's method, command-line subcommand and MCP tool
    bool extension;        // reached only in extension mode
    Handler handler;
    std::vector<ControlArgument> args;
    const char *reply;     // what the reply's "value" holds ("" when the reply has none)
    const char *summary;   // one sentence: what the control does
};

class ControlTable {
public:
    // The rows, the twenty controls first in their dispatch order, then the extension words.
    static const std::vector<ControlRow> &Rows();
    // The row of a word; extension words only when extensions is true. Null for anything else.
    static const ControlRow *Find(const QString &word, bool extensions);
    // The rows as a reply value: a list of {"word", "name", "extension", "summary", "reply",
    // "args": [{"key", "alias", "type", "default", "meaning", "required"}]}.
    static QVariant Describe();
};
