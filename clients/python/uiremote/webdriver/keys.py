"""WebDriver's key code points (U+E000 ...) as Qt keys and modifiers, and typing a Send Keys
text: plain runs go through ``typetext`` exactly as given, special keys and chords through
``keyclick``."""

from .. import qt
from ..qt import Key, Modifier

__all__ = ["MODIFIERS", "special_key", "type_keys"]

NULL = "\ue000"

#: Modifier keys (both sides) and the modifier bit each holds.
MODIFIERS = {
    "\ue008": Modifier.SHIFT, "\ue050": Modifier.SHIFT,
    "\ue009": Modifier.CONTROL, "\ue051": Modifier.CONTROL,
    "\ue00a": Modifier.ALT, "\ue052": Modifier.ALT,
    "\ue03d": Modifier.META, "\ue053": Modifier.META,
}

_SPECIAL = {
    "\ue001": Key.CANCEL if hasattr(Key, "CANCEL") else Key.ESCAPE,
    "\ue002": Key.HELP if hasattr(Key, "HELP") else Key.F1,
    "\ue003": Key.BACKSPACE, "\ue004": Key.TAB, "\ue005": Key.CLEAR, "\ue006": Key.RETURN,
    "\ue007": Key.ENTER, "\ue00b": Key.PAUSE, "\ue00c": Key.ESCAPE, "\ue00d": 0x20,
    "\ue00e": Key.PAGE_UP, "\ue00f": Key.PAGE_DOWN, "\ue010": Key.END, "\ue011": Key.HOME,
    "\ue012": Key.LEFT, "\ue013": Key.UP, "\ue014": Key.RIGHT, "\ue015": Key.DOWN,
    "\ue016": Key.INSERT, "\ue017": Key.DELETE, "\ue018": 0x3B, "\ue019": 0x3D,
    "\ue024": 0x2A, "\ue025": 0x2B, "\ue026": 0x2C, "\ue027": 0x2D, "\ue028": 0x2E, "\ue029": 0x2F,
    "\ue054": Key.PAGE_UP, "\ue055": Key.PAGE_DOWN, "\ue056": Key.END, "\ue057": Key.HOME,
    "\ue058": Key.LEFT, "\ue059": Key.UP, "\ue05a": Key.RIGHT, "\ue05b": Key.DOWN,
    "\ue05c": Key.INSERT, "\ue05d": Key.DELETE,
}
for _digit in range(10):  # the number pad
    _SPECIAL[chr(0xE01A + _digit)] = 0x30 + _digit
for _f in range(12):
    _SPECIAL[chr(0xE031 + _f)] = int(Key.F1) + _f


def is_special(char):
    return "\ue000" <= char <= "\uf8ff"


def special_key(char):
    """(Qt key code, keypad modifier bit) of a WebDriver key code point, or None."""
    code = _SPECIAL.get(char)
    if code is None:
        return None
    keypad = Modifier.KEYPAD if "\ue01a" <= char <= "\ue029" else Modifier.NONE
    return int(code), int(keypad)


def key_click(client, window, char, held):
    """Clicks one key: a special key or a character typed with the modifiers ``held``."""
    special = special_key(char)
    if special is not None:
        code, extra = special
        return client.key_click(window, code, int(held | extra) or None)
    try:
        code, mods = qt.key_for_char(char)
    except ValueError:
        return client.type_text(window, char)  # no key code: its text, without the chord
    return client.key_click(window, code, int(held | mods) or None)


def type_keys(client, window, text):
    """Types a Send Keys text into the focused item of ``window``.  Modifier keys stay held until
    NULL or the end of the text.  Returns the application's reason of a failure, or None."""
    held = Modifier.NONE
    run = []

    def flush():
        if run:
            reply = client.type_text(window, "".join(run))
            run.clear()
            if not reply.result:
                return reply.error or "typing failed"
        return None

    for char in text:
        if not is_special(char) and held == Modifier.NONE:
            run.append(char)
            continue
        failed = flush()
        if failed:
            return failed
        if char == NULL:
            held = Modifier.NONE
        elif char in MODIFIERS:
            held |= MODIFIERS[char]
        elif is_special(char) and special_key(char) is None:
            continue  # a key code this system has no key for
        else:
            reply = key_click(client, window, char, held)
            if not (reply if isinstance(reply, bool) else reply.result):
                return getattr(reply, "error", None) or "the key could not be typed"
    return flush()
