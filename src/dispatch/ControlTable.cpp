// The table of controls (ControlTable.h). Adding a control: one row here, one handler, one test;
// the clients' parity tests then say what else must follow.

#include "ControlTable.h"

#include "ControlEngine.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

ControlArgument Required(const char *key, const char *alias, const char *type, const char *meaning)
{
    return {key, alias, type, nullptr, meaning, true};
}

ControlArgument Optional(const char *key, const char *alias, const char *type, const char *meaning,
                         const char *fallback = nullptr)
{
    return {key, alias, type, fallback, meaning, false};
}

const ControlArgument kPath = Required("objname", "path", "string", "the object's path: names and selectors joined by dots");
const ControlArgument kParent = Optional("parobjname", "parent", "string", "a path put in front of objname");
const ControlArgument kWindow = Optional("winobjname", "window", "string", "the window's objectName (else the item's own window)");
const ControlArgument kX = Optional("x", "x", "number", "item-local x (default: the item's centre)");
const ControlArgument kY = Optional("y", "y", "number", "item-local y (default: the item's centre)");
const ControlArgument kModifiers = Optional("keyboardModifier", "modifiers", "integer", "Qt::KeyboardModifiers bits", "0");
const ControlArgument kActionable = Optional("actionable", "actionable", "boolean",
                                             "check first that a person could act on the item (extension mode)", "false");
const ControlArgument kMethod = Optional("method", "method", "string", "act on the object this method of objname returns");
const ControlArgument kMethodArgs = Optional("mthargs", "args", "array", "the method's arguments (at most 10)", "[]");
const ControlArgument kTimeout = Optional("timeout", "timeout", "integer", "milliseconds to wait at most", "5000");

std::vector<ControlArgument> Pointer(std::initializer_list<ControlArgument> own = {})
{
    std::vector<ControlArgument> args{kPath, kParent, kWindow, kX, kY};
    args.insert(args.end(), own);
    args.push_back(kActionable);
    return args;
}

using C = UIRemoteControl;
using V = QVariant;
using A = ArgumentMap;

} // namespace

const std::vector<ControlRow> &ControlTable::Rows()
{
    static const std::vector<ControlRow> rows = {
        // The twenty controls, in the order dispatch has always compared them.
        {"invoke", "invoke", false, [](C &c, const A &a, V &) { return c.DoInvokeMethod(a); },
         {kPath, kParent, Required("method", "method", "string", "the method's name"), kMethodArgs},
         "", "Calls a method of an object (a QML function or an invokable C++ method)."},
        {"invokeret", "invoke_ret", false, [](C &c, const A &a, V &v) { return c.DoInvokeRetMethod(a, v); },
         {kPath, kParent, Required("method", "method", "string", "the method's name"), kMethodArgs},
         "the method's result", "Calls a method of an object and returns its result."},
        {"getpro", "get_property", false, [](C &c, const A &a, V &v) { return c.DoGetProperty(a, v); },
         {kPath, kParent, Required("property", "name", "string", "the property's name (attached and dotted names in extension mode)"),
          kMethod, kMethodArgs},
         "the property's value", "Reads a property of an object."},
        {"setpro", "set_property", false, [](C &c, const A &a, V &) { return c.DoSetProperty(a); },
         {kPath, kParent, Required("property", "name", "string", "the property's name"),
          Required("propval", "value", "any", "the value to write"), kMethod, kMethodArgs},
         "", "Writes a property of an object."},
        {"click", "click", false, [](C &c, const A &a, V &) { return c.DoClick(a, false); },
         Pointer({Optional("clickbtn", "button", "string", "left, right or mid", "\"left\""), kModifiers}),
         "", "Clicks an item: press and release at its centre or at (x, y)."},
        {"dbclick", "double_click", false, [](C &c, const A &a, V &) { return c.DoClick(a, true); },
         Pointer({Optional("clickbtn", "button", "string", "left, right or mid", "\"left\""), kModifiers}),
         "", "Double-clicks an item."},
        {"hover", "hover", false, [](C &c, const A &a, V &) { return c.DoHover(a); }, Pointer(),
         "", "Moves the mouse over an item without pressing."},
        {"waitsignal", "wait_signal", false, [](C &c, const A &a, V &) { return c.DoWaitSignal(a); },
         {kPath, kParent, Required("signal", "signal", "string", "the signal's signature, as clicked()"),
          Optional("timeout", "timeout_ms", "integer", "milliseconds to wait (absent: the signal must come at once)")},
         "", "Waits until an object emits a signal."},
        {"getmdlitemval", "get_model_value", false, [](C &c, const A &a, V &v) { return c.DoGetModelValue(a, v); },
         {Required("pluginname", "plugin", "string", "the host plugin that publishes the model"),
          Required("method", "method", "string", "the plugin's method that returns the model"),
          Required("mdlitemrowpth", "row_path", "string", "row numbers from the top, as 1/0"),
          Required("mdlitemrolename", "role", "string", "the role to read")},
         "the model value", "Reads a value of a host tree model."},
        {"getgrpmdlitemval", "get_group_model_value", false,
         [](C &c, const A &a, V &v) { return c.DoGetGroupModelValue(a, v); },
         {Required("pluginname", "plugin", "string", "the host plugin that publishes the model"),
          Required("method", "method", "string", "the plugin's method that returns the model"),
          Required("grouprolename", "group", "string", "the role that holds the group's child model"),
          Required("mdlitemrowpth", "row_path", "string", "row numbers from the top, as 1/0"),
          Required("mdlitemrolename", "role", "string", "the role to read")},
         "the model value", "Reads a value of a host group model."},
        {"getfltmdlitemval", "get_filter_model_value", false,
         [](C &c, const A &a, V &v) { return c.DoGetFilterModelValue(a, v); }, {},
         "", "Not supported: always fails."},
        {"drag", "drag", false, [](C &c, const A &a, V &) { return c.DoDrag(a); },
         Pointer({Optional("from_x", "from_x", "number", "item-local start x"),
                  Optional("from_y", "from_y", "number", "item-local start y"),
                  Optional("to_x", "to_x", "number", "item-local end x"),
                  Optional("to_y", "to_y", "number", "item-local end y")}),
         "", "Presses the left button on an item and moves it; the button stays held (see drop)."},
        {"drop", "drop", false, [](C &c, const A &a, V &) { return c.DoDrop(a); }, Pointer(),
         "", "Releases the held left button over an item."},
        {"press", "press", false, [](C &c, const A &a, V &) { return c.DoPress(a); }, Pointer(),
         "", "Presses the left button on an item and holds it."},
        {"keyclick", "key_click", false, [](C &c, const A &a, V &) { return c.DoKeyClick(a); },
         {kWindow, Required("key", "key", "integer", "the Qt::Key code"), kModifiers},
         "", "Types one key into the focused item of a window."},
        {"getwinname", "get_window_name", false, [](C &c, const A &a, V &v) { return c.DoGetWindowName(a, v); },
         {kPath, kParent, kMethod, kMethodArgs}, "the window's name", "Names the window that shows an item."},
        {"emitpluginsignal", "emit_plugin_signal", false,
         [](C &c, const A &a, V &) { return c.EmitPluginSignal(a), true; },
         {Required("pluginName", "plugin", "string", "the host plugin's context-property name"),
          Required("signalName", "signal", "string", "the argument-less signal (or method) to run")},
         "", "Emits an argument-less signal of a host plugin; always succeeds."},
        {"movejoystick", "move_joystick", false, [](C &c, const A &a, V &) { return c.MoveJoystick(a), true; },
         {Optional("pos_x", "x", "number", "axis x", "0"), Optional("pos_y", "y", "number", "axis y", "0"),
          Optional("pos_z", "z", "number", "axis z", "0")},
         "", "Moves the host's joystick axes; always succeeds."},
        {"joystickbuttonevent", "joystick_button_event", false,
         [](C &c, const A &a, V &) { return c.DoJoystickButtonEvent(a), true; },
         {Required("model_name", "model", "string", "the joystick model"),
          Required("key_id", "key_id", "integer", "the button's id")},
         "", "Sends a joystick button event to the host; always succeeds."},
        {"addjoystick", "add_joystick", false, [](C &c, const A &a, V &) { return c.DoAddJoystick(a), true; },
         {Required("joystick_list", "devices", "array", "the attached joystick devices")},
         "", "Tells the host which joysticks are attached; always succeeds."},

        // Extension words.
        {"describe", "describe", true, [](C &, const A &, V &v) { return v = Describe(), true; }, {},
         "this table", "Lists the controls this application understands, with their arguments."},
        {"tree", "tree", true, [](C &c, const A &a, V &v) { return c.m_engine->DoTree(a, v); },
         {Optional("objname", "path", "string", "the subtree to list (default: the whole scene)"), kParent,
          Optional("depth", "depth", "integer", "levels to list (default: all)")},
         "the object tree", "Returns the live object tree: labels, types, paths, geometry, state."},
        {"find", "find", true, [](C &c, const A &a, V &v) { return c.m_engine->DoFind(a, v); },
         {Optional("property", "property", "string", "a property the objects must have"),
          Optional("value", "value", "any", "the value it must hold"),
          Optional("type", "type", "string", "the type the objects must be of"),
          Optional("objname", "path", "string", "the subtree to search (default: the whole scene)"), kParent},
         "the paths of the matching objects", "Finds objects by type and property value."},
        {"screenshot", "screenshot", true, [](C &c, const A &a, V &v) { return c.m_engine->DoScreenshot(a, v); },
         {Optional("winobjname", "window", "string", "the window (default: the main window)"),
          Optional("objname", "path", "string", "an item to crop the picture to"), kParent},
         "a base64 PNG", "Takes a picture of a window as rendered now, or of one item in it."},
        {"typetext", "type_text", true, [](C &c, const A &a, V &v) { return c.m_engine->DoTypeText(a, v); },
         {Required("text", "text", "string", "the text, typed one character at a time"), kWindow,
          Optional("objname", "path", "string", "an item to click first, for focus"), kParent},
         "", "Types any text into the focused item."},
        {"wheel", "wheel", true, [](C &c, const A &a, V &v) { return c.m_engine->DoWheel(a, v); },
         {kPath, kParent, kWindow, kX, kY, Optional("dx", "dx", "number", "degrees across", "0"),
          Optional("dy", "dy", "number", "degrees; positive turns the wheel away from the user", "0"), kModifiers},
         "", "Turns the mouse wheel over an item, one event per 15 degree notch."},
        {"swipe", "swipe", true, [](C &c, const A &a, V &v) { return c.m_engine->DoSwipe(a, v); },
         {kPath, kParent, kWindow,
          Optional("from", "start", "point", "[x, y], {\"x\", \"y\"} or center, left, right, top, bottom, topleft...", "\"center\""),
          Optional("to", "end", "point", "where the swipe ends, in the same forms", "\"left\""),
          Optional("steps", "steps", "integer", "moves between press and release", "10"),
          Optional("duration", "duration", "integer", "milliseconds from press to release", "200"),
          Optional("button", "button", "string", "left, right or mid", "\"left\"")},
         "", "Presses, moves and releases over an item on an exact time plan (flicks, drawers, page turns)."},
        {"spy", "spy", true, [](C &c, const A &a, V &v) { return c.m_engine->DoSpy(a, v); },
         {kPath, kParent, Required("signal", "signal", "string", "the signal, as clicked or clicked()")},
         "the spy's id", "Arms a spy that counts a signal's emissions."},
        {"spycount", "spy_count", true, [](C &c, const A &a, V &v) { return c.m_engine->DoSpyCount(a, v); },
         {Required("id", "spy_id", "integer", "the spy's id")},
         "{\"count\": n, \"args\": [[...], ...], \"dropped\": n when older emissions were let go}",
         "Tells how often a spy's signal fired, with the arguments of the newest 1000 emissions."},
        {"waitspy", "wait_spy", true, [](C &c, const A &a, V &v) { return c.m_engine->DoWaitSpy(a, v); },
         {Required("id", "spy_id", "integer", "the spy's id"),
          Optional("count", "count", "integer", "emissions in all, those before the wait included", "1"), kTimeout},
         "the count", "Waits until a spy has seen a number of emissions."},
        {"unspy", "unspy", true, [](C &c, const A &a, V &v) { return c.m_engine->DoUnspy(a, v); },
         {Required("id", "spy_id", "integer", "the spy's id")},
         "", "Disarms a spy (spies also go when the connection that armed them closes)."},
        {"waitprop", "wait_property", true, [](C &c, const A &a, V &v) { return c.m_engine->DoWaitProp(a, v); },
         {kPath, kParent, Required("property", "name", "string", "the property's name"),
          Required("value", "value", "any", "the value to wait for"), kTimeout},
         "the value", "Waits until a property holds a value, woken by its change signal."},
        {"waitidle", "wait_idle", true, [](C &c, const A &a, V &v) { return c.m_engine->DoWaitIdle(a, v); },
         {Optional("winobjname", "window", "string", "the window (default: the item's window, else the main window)"),
          Optional("objname", "path", "string", "only what moves below this item counts"),
          Optional("ignore", "ignore", "array", "names, ids or types of what never stops, left out"), kTimeout},
         "", "Waits until nothing in a window (or below an item) moves and a frame has rendered since."},
        {"handle", "handle", true, [](C &c, const A &a, V &v) { return c.m_engine->DoHandle(a, v); },
         {kPath, kParent},
         "the handle", "Gives the object a handle that names it, and only it, while the remote control lives (\"handle\": n instead of objname)."},
        {"resolve", "resolve", true, [](C &c, const A &a, V &v) { return c.m_engine->DoResolve(a, v); },
         {Required("handle", "handle", "integer", "the object's handle")},
         "{\"path\", \"type\", \"alive\": true}", "Tells what a handle names now; fails once its object is destroyed."},
        {"evaluate", "evaluate", true, [](C &c, const A &a, V &v) { return c.m_engine->DoEvaluate(a, v); },
         {Required("script", "script", "string", "the body of a JavaScript function, run in the scene's QML engine"),
          Optional("args", "args", "array", "its arguments; {\"handle\": n} and {\"objname\": path} pass the object", "[]"),
          Optional("objname", "path", "string", "the object the script gets as this"), kParent,
          Optional("timeout", "timeout", "integer", "milliseconds the script may run (0: no bound)", "5000")},
         "the return value (objects as {\"type\", \"path\", \"handle\"})",
         "Runs JavaScript in the application's QML engine with objects of the scene as arguments."},
    };
    return rows;
}

const ControlRow *ControlTable::Find(const QString &word, bool extensions)
{
    static const QHash<QString, const ControlRow *> byWord = [] {
        QHash<QString, const ControlRow *> hash;
        for (const ControlRow &row : Rows())
            hash.insert(QString::fromLatin1(row.word), &row);
        return hash;
    }();
    const ControlRow *row = byWord.value(word, nullptr);
    return row && (extensions || !row->extension) ? row : nullptr;
}

QVariant ControlTable::Describe()
{
    QVariantList controls;
    for (const ControlRow &row : Rows()) {
        QVariantList args;
        for (const ControlArgument &arg : row.args) {
            QVariantMap entry{{QStringLiteral("key"), QString::fromLatin1(arg.key)},
                              {QStringLiteral("alias"), QString::fromLatin1(arg.alias)},
                              {QStringLiteral("type"), QString::fromLatin1(arg.type)},
                              {QStringLiteral("meaning"), QString::fromUtf8(arg.meaning)},
                              {QStringLiteral("required"), arg.required}};
            if (arg.fallback) // JSON text: the value itself goes into the description
                entry.insert(QStringLiteral("default"),
                             QJsonDocument::fromJson(QByteArray("[") + arg.fallback + "]").array().first().toVariant());
            args.append(entry);
        }
        controls.append(QVariantMap{{QStringLiteral("word"), QString::fromLatin1(row.word)},
                                    {QStringLiteral("name"), QString::fromLatin1(row.name)},
                                    {QStringLiteral("extension"), row.extension},
                                    {QStringLiteral("summary"), QString::fromUtf8(row.summary)},
                                    {QStringLiteral("reply"), QString::fromUtf8(row.reply)},
                                    {QStringLiteral("args"), args}});
    }
    return controls;
}

const QStringList &ControlTypeWords()
{
    // Sorted by word.
    static const QStringList words = [] {
        QStringList list;
        for (const ControlRow &row : ControlTable::Rows()) {
            if (!row.extension)
                list.append(QString::fromLatin1(row.word));
        }
        list.sort();
        return list;
    }();
    return words;
}
