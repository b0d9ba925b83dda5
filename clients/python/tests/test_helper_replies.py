"""The client's helpers answer with replies that keep the reason of a failure; each is truthy
exactly when it succeeded, as the booleans they used to return were."""

from uiremote import Reply

from conftest import WINDOW


def test_exists_answers_a_reply_with_the_reason(ui):
    found = ui.exists("main.button")
    assert isinstance(found, Reply) and found and found.value == "button"
    missing = ui.exists("main.nothing")
    assert isinstance(missing, Reply) and not missing
    assert missing.error == "no object matches main.nothing"


def test_wait_for_property_keeps_the_applications_reason(ui):
    done = ui.wait_for_property("main.props", "label", "initial", timeout=2)
    assert isinstance(done, Reply) and done.result is True
    late = ui.wait_for_property("main.props", "label", "never", timeout=0.2)
    assert isinstance(late, Reply) and not late and late.error
    gone = ui.wait_for_property("main.nothing", "label", "x", timeout=0.2)
    assert not gone and gone.error == "no object matches main.nothing"


def test_wait_for_property_with_a_test_tells_the_last_value(ui):
    def long_label(value):
        return len(value) > 20

    late = ui.wait_for_property("main.props", "label", long_label, timeout=0.2)
    assert not late and late.value == "initial"
    assert late.error == 'the property label of main.props is "initial", not a value that long_label accepts, after 0.2 s'
    assert ui.wait_for_property("main.props", "label", lambda value: value == "initial", timeout=2).value == "initial"


def test_type_keys_answers_the_failing_key_click(ui):
    typed = ui.type_keys(WINDOW, "ab")
    assert isinstance(typed, Reply) and typed.result is True
    clicks = []
    real_key_click = ui.key_click

    def refuse_the_second(*args):
        clicks.append(args)
        if len(clicks) == 2:
            return Reply(False, None, {"result": False, "error": "the window is gone"})
        return real_key_click(*args)

    ui.key_click = refuse_the_second
    refused = ui.type_keys(WINDOW, "abc")
    assert not refused and refused.error == "the window is gone" and len(clicks) == 2
    assert ui.type_keys(WINDOW, "").result is True


def test_drag_and_drop_answers_the_drop(ui):
    dropped = ui.drag_and_drop("main.dragArea", (20, 20), (60, 100))
    assert isinstance(dropped, Reply) and dropped.result is True
