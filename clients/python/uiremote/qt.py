"""Qt enumerations used on the wire, by name.

The remote control takes Qt's own integer values: key codes are ``Qt::Key`` values and
modifiers are ``Qt::KeyboardModifiers`` bit sets.  Mouse buttons travel as words
("left", "right", "mid"); :class:`MouseButton` holds Qt's integer values for comparing with
what a QML ``MouseArea`` reports.
"""

import enum

__all__ = [
    "Button",
    "MouseButton",
    "Key",
    "Modifier",
    "key_for_char",
    "parse_key",
    "parse_modifiers",
    "button_word",
]


class Button(str, enum.Enum):
    """Button words understood by "click" and "dbclick"."""

    LEFT = "left"
    RIGHT = "right"
    MIDDLE = "mid"


class MouseButton(enum.IntFlag):
    """``Qt::MouseButton`` values."""

    NONE = 0x0
    LEFT = 0x1
    RIGHT = 0x2
    MIDDLE = 0x4
    BACK = 0x8
    FORWARD = 0x10


class Modifier(enum.IntFlag):
    """``Qt::KeyboardModifier`` values."""

    NONE = 0x00000000
    SHIFT = 0x02000000
    CONTROL = 0x04000000
    ALT = 0x08000000
    META = 0x10000000
    KEYPAD = 0x20000000
    GROUP_SWITCH = 0x40000000


class Key(enum.IntEnum):
    """``Qt::Key`` values (a useful subset: everything a keyboard test normally needs)."""

    ESCAPE = 0x01000000
    TAB = 0x01000001
    BACKTAB = 0x01000002
    BACKSPACE = 0x01000003
    RETURN = 0x01000004
    ENTER = 0x01000005
    INSERT = 0x01000006
    DELETE = 0x01000007
    PAUSE = 0x01000008
    PRINT = 0x01000009
    SYSREQ = 0x0100000A
    CLEAR = 0x0100000B
    HOME = 0x01000010
    END = 0x01000011
    LEFT = 0x01000012
    UP = 0x01000013
    RIGHT = 0x01000014
    DOWN = 0x01000015
    PAGE_UP = 0x01000016
    PAGE_DOWN = 0x01000017
    SHIFT = 0x01000020
    CONTROL = 0x01000021
    META = 0x01000022
    ALT = 0x01000023
    CAPS_LOCK = 0x01000024
    NUM_LOCK = 0x01000025
    SCROLL_LOCK = 0x01000026
    F1 = 0x01000030
    F2 = 0x01000031
    F3 = 0x01000032
    F4 = 0x01000033
    F5 = 0x01000034
    F6 = 0x01000035
    F7 = 0x01000036
    F8 = 0x01000037
    F9 = 0x01000038
    F10 = 0x01000039
    F11 = 0x0100003A
    F12 = 0x0100003B
    F13 = 0x0100003C
    F14 = 0x0100003D
    F15 = 0x0100003E
    F16 = 0x0100003F
    F17 = 0x01000040
    F18 = 0x01000041
    F19 = 0x01000042
    F20 = 0x01000043
    F21 = 0x01000044
    F22 = 0x01000045
    F23 = 0x01000046
    F24 = 0x01000047
    F25 = 0x01000048
    F26 = 0x01000049
    F27 = 0x0100004A
    F28 = 0x0100004B
    F29 = 0x0100004C
    F30 = 0x0100004D
    F31 = 0x0100004E
    F32 = 0x0100004F
    F33 = 0x01000050
    F34 = 0x01000051
    F35 = 0x01000052
    MENU = 0x01000055
    HELP = 0x01000058
    SPACE = 0x20
    EXCLAM = 0x21
    QUOTE_DBL = 0x22
    NUMBER_SIGN = 0x23
    DOLLAR = 0x24
    PERCENT = 0x25
    AMPERSAND = 0x26
    APOSTROPHE = 0x27
    PAREN_LEFT = 0x28
    PAREN_RIGHT = 0x29
    ASTERISK = 0x2A
    PLUS = 0x2B
    COMMA = 0x2C
    MINUS = 0x2D
    PERIOD = 0x2E
    SLASH = 0x2F
    DIGIT_0 = 0x30
    DIGIT_1 = 0x31
    DIGIT_2 = 0x32
    DIGIT_3 = 0x33
    DIGIT_4 = 0x34
    DIGIT_5 = 0x35
    DIGIT_6 = 0x36
    DIGIT_7 = 0x37
    DIGIT_8 = 0x38
    DIGIT_9 = 0x39
    COLON = 0x3A
    SEMICOLON = 0x3B
    LESS = 0x3C
    EQUAL = 0x3D
    GREATER = 0x3E
    QUESTION = 0x3F
    AT = 0x40
    A = 0x41
    B = 0x42
    C = 0x43
    D = 0x44
    E = 0x45
    F = 0x46
    G = 0x47
    H = 0x48
    I = 0x49  # noqa: E741 - Qt's own name
    J = 0x4A
    K = 0x4B
    L = 0x4C
    M = 0x4D
    N = 0x4E
    O = 0x4F  # noqa: E741 - Qt's own name
    P = 0x50
    Q = 0x51
    R = 0x52
    S = 0x53
    T = 0x54
    U = 0x55
    V = 0x56
    W = 0x57
    X = 0x58
    Y = 0x59
    Z = 0x5A
    BRACKET_LEFT = 0x5B
    BACKSLASH = 0x5C
    BRACKET_RIGHT = 0x5D
    ASCII_CIRCUM = 0x5E
    UNDERSCORE = 0x5F
    QUOTE_LEFT = 0x60
    BRACE_LEFT = 0x7B
    BAR = 0x7C
    BRACE_RIGHT = 0x7D
    ASCII_TILDE = 0x7E


# Characters typed with Shift held on a US keyboard; their Qt key code is the character itself.
_SHIFTED_SYMBOLS = '~!@#$%^&*()_+{}|:"<>?'

_CONTROL_CHARS = {
    "\n": Key.RETURN,
    "\r": Key.RETURN,
    "\t": Key.TAB,
    "\b": Key.BACKSPACE,
    "\x1b": Key.ESCAPE,
    "\x7f": Key.DELETE,
}


def key_for_char(char):
    """Returns ``(key, modifiers)`` that type one character.

    Letters map to their upper-case key code (``Key.A`` for both "a" and "A"), with Shift for
    upper case; shifted punctuation ("!", "?", ...) is its own key code with Shift held, as on a
    US keyboard.  Newline, tab, backspace and escape map to their keys.  Raises ``ValueError``
    for characters without a Qt key code (anything outside printable ASCII).
    """
    if len(char) != 1:
        raise ValueError("expected one character, got %r" % (char,))
    if char in _CONTROL_CHARS:
        return int(_CONTROL_CHARS[char]), int(Modifier.NONE)
    code = ord(char)
    if not 0x20 <= code <= 0x7E:
        raise ValueError("no Qt key code for the character %r" % (char,))
    if "a" <= char <= "z":
        return code - 0x20, int(Modifier.NONE)
    if "A" <= char <= "Z" or char in _SHIFTED_SYMBOLS:
        return code, int(Modifier.SHIFT)
    return code, int(Modifier.NONE)


_KEY_ALIASES = {
    "ESC": Key.ESCAPE,
    "DEL": Key.DELETE,
    "INS": Key.INSERT,
    "PGUP": Key.PAGE_UP,
    "PGDN": Key.PAGE_DOWN,
    "PAGEUP": Key.PAGE_UP,
    "PAGEDOWN": Key.PAGE_DOWN,
    "CTRL": Key.CONTROL,
    "BKSP": Key.BACKSPACE,
}


def _normalise_name(name):
    name = name.strip()
    if name.lower().startswith("key_"):
        name = name[4:]
    return name.upper().replace("-", "_")


def parse_key(value):
    """Turns a key given by a user into a ``Qt::Key`` integer.

    Accepts an integer (or :class:`Key`), a decimal or ``0x`` hexadecimal string, a key name
    ("Return", "Key_Return", "page_up", "F5", "esc") or a single character ("a" gives ``Key.A``).
    """
    if isinstance(value, bool):
        raise TypeError("a key cannot be a bool")
    if isinstance(value, int):
        return int(value)
    if not isinstance(value, str) or not value:
        raise ValueError("invalid key %r" % (value,))
    if len(value) == 1:
        if value.isdigit():
            return ord(value)
        return key_for_char(value)[0]
    text = value.strip()
    try:
        return int(text, 0)
    except ValueError:
        pass
    name = _normalise_name(text)
    if name in _KEY_ALIASES:
        return int(_KEY_ALIASES[name])
    if name.isdigit() and len(name) == 1:
        return ord(name)
    compact = name.replace("_", "")
    for member in Key:
        if member.name == name or member.name.replace("_", "") == compact:
            return int(member)
    raise ValueError("unknown key name %r" % (value,))


_MODIFIER_ALIASES = {
    "CTRL": Modifier.CONTROL,
    "CMD": Modifier.META,
    "SUPER": Modifier.META,
    "WIN": Modifier.META,
    "OPTION": Modifier.ALT,
}


def parse_modifiers(value):
    """Turns modifiers given by a user into a ``Qt::KeyboardModifiers`` integer.

    Accepts ``None`` (no modifiers), an integer or :class:`Modifier` flag set, a string of
    names or numbers joined by "+", "|" or "," ("ctrl+shift", "0x02000000"), or an iterable of
    any of these.
    """
    if value is None:
        return 0
    if isinstance(value, bool):
        raise TypeError("modifiers cannot be a bool")
    if isinstance(value, int):
        return int(value)
    if isinstance(value, str):
        total = 0
        for part in value.replace("|", "+").replace(",", "+").split("+"):
            part = part.strip()
            if not part:
                continue
            try:
                total |= int(part, 0)
                continue
            except ValueError:
                pass
            name = _normalise_name(part)
            if name.endswith("MODIFIER"):
                name = name[: -len("MODIFIER")].rstrip("_")
            if name in _MODIFIER_ALIASES:
                total |= int(_MODIFIER_ALIASES[name])
            elif name in Modifier.__members__:
                total |= int(Modifier[name])
            else:
                raise ValueError("unknown modifier %r" % (part,))
        return total
    total = 0
    for item in value:
        total |= parse_modifiers(item)
    return total


def button_word(value):
    """Turns a mouse button into the word the remote control expects ("left", "right", "mid").

    Accepts :class:`Button`, :class:`MouseButton` (or Qt's integer value), or a word
    ("left", "right", "mid"/"middle", any case).
    """
    if isinstance(value, Button):
        return value.value
    if isinstance(value, bool):
        raise TypeError("a button cannot be a bool")
    if isinstance(value, int):
        words = {1: "left", 2: "right", 4: "mid"}
        if int(value) not in words:
            raise ValueError("unsupported mouse button %r" % (value,))
        return words[int(value)]
    word = str(value).strip().lower()
    if word == "middle":
        word = "mid"
    if word not in ("left", "right", "mid"):
        raise ValueError("unknown mouse button %r (use left, right or mid)" % (value,))
    return word
