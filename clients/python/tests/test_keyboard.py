"""keyclick and type_text: keys reach the focused TextInput of the named window."""

import pytest

from uiremote.qt import Key, Modifier

from conftest import WINDOW


def prop(ui, name):
    reply = ui.get_property("main.input", name)
    assert reply.result
    return reply.value


def test_input_has_the_focus(ui):
    assert prop(ui, "activeFocus") is True


def test_key_click_letter_digit_and_symbol(ui):
    assert ui.key_click(WINDOW, Key.H).result is True
    assert ui.key_click(WINDOW, Key.DIGIT_4)
    assert ui.key_click(WINDOW, Key.EXCLAM, Modifier.SHIFT)
    assert prop(ui, "text") == "h4!"
    # Shift is pressed as a key of its own before the key it modifies.
    assert prop(ui, "keys") == [Key.H, Key.DIGIT_4, Key.SHIFT, Key.EXCLAM]
    assert prop(ui, "lastKey") == Key.EXCLAM
    assert prop(ui, "lastModifiers") == Modifier.SHIFT
    assert prop(ui, "lastText") == "!"


def test_key_click_with_modifiers_reaches_the_item(ui):
    assert ui.key_click(WINDOW, "a", modifiers="ctrl")
    assert prop(ui, "lastKey") == Key.A
    assert prop(ui, "lastModifiers") == Modifier.CONTROL
    assert prop(ui, "text") == ""  # a Control chord inserts no text
    assert ui.key_click(WINDOW, Key.A, Modifier.META | Modifier.ALT)
    assert prop(ui, "lastModifiers") == Modifier.META | Modifier.ALT
    assert ui.key_click(WINDOW, Key.DIGIT_1, Modifier.KEYPAD)
    assert prop(ui, "lastModifiers") == Modifier.KEYPAD


def test_key_names_and_editing_keys(ui):
    assert ui.type_text(WINDOW, "abc")
    assert ui.key_click(WINDOW, "Left")
    assert ui.key_click(WINDOW, Key.BACKSPACE)
    assert prop(ui, "text") == "ac"
    assert ui.key_click(WINDOW, Key.HOME)
    assert ui.key_click(WINDOW, "Delete")
    assert prop(ui, "text") == "c"
    assert ui.key_click(WINDOW, Key.RETURN)
    assert prop(ui, "accepts") == 1
    assert ui.key_click(WINDOW, Key.ENTER)
    assert prop(ui, "accepts") == 2
    assert ui.key_click(WINDOW, Key.F5)
    assert prop(ui, "lastKey") == Key.F5


def test_type_text(ui):
    assert ui.type_text(WINDOW, "hello, world 42 -=[];'./`").result is True
    assert prop(ui, "text") == "hello, world 42 -=[];'./`"


def test_type_text_types_any_text_exactly(ui):
    assert ui.type_text(WINDOW, "Hello W\u00f6rld \u4f60\u597d!").result is True
    assert prop(ui, "text") == "Hello W\u00f6rld \u4f60\u597d!"


def test_type_keys_holds_shift_for_capitals_and_shifted_symbols(ui):
    assert ui.type_keys(WINDOW, "?").result is True
    assert prop(ui, "text") == "?"
    assert prop(ui, "lastModifiers") == Modifier.SHIFT
    assert ui.type_keys(WINDOW, "Q").result is True
    assert prop(ui, "lastKey") == Key.Q
    assert prop(ui, "lastModifiers") == Modifier.SHIFT
    assert prop(ui, "keys") == [Key.SHIFT, Key.QUESTION, Key.SHIFT, Key.Q]


def test_type_keys_rejects_untypable_text_before_typing(ui):
    with pytest.raises(ValueError):
        ui.type_keys(WINDOW, "ok \u00e9")
    assert prop(ui, "text") == ""


def test_key_click_to_an_unknown_window_falls_back_to_the_default_window(ui):
    # The application's default window takes keys sent to a window name it does not know.
    assert ui.key_click("noSuchWindow", Key.X).result is True
    assert prop(ui, "text") == "x"
