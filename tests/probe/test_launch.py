"""A compiled application that never links the library, driven through the probe."""

import os
import socket
import time

import pytest

from conftest import PROBE_BANNER, program
from uiremote import Client
from uiremote.app import Application, listening_addresses
from uiremote.qt import Key


def wait_until(condition, timeout=10.0):
    deadline = time.monotonic() + timeout
    while not condition():
        if time.monotonic() >= deadline:
            return False
        time.sleep(0.05)
    return True


@pytest.fixture
def inventory(launch):
    app = launch([program("UIREMOTE_INVENTORY")], ["--name-from-ids"])
    app.client.window = "window"
    return app



def test_launcher_prints_one_line_and_listens_on_loopback_only(inventory):
    lines = [line for line in inventory.output.splitlines() if line.startswith("uiremote:")]
    assert lines == ["uiremote: listening on 127.0.0.1:%d" % inventory.port]
    assert listening_addresses(inventory.port) == {"0100007F"}  # 127.0.0.1


def test_listen_option_opens_the_given_address(launch):
    app = launch([program("UIREMOTE_INVENTORY")], ["--listen", "0.0.0.0"])
    assert "uiremote: listening on 0.0.0.0:%d" % app.port in app.output
    assert listening_addresses(app.port) == {"00000000"}


def test_click_reaches_an_object_known_only_by_its_id(inventory):
    ui = inventory.client
    assert ui.click("addButton").result is True
    assert ui.get_property("countLabel", "text").value == "1 of 5"


def test_properties_of_a_registered_cpp_type(inventory):
    ui = inventory.client
    assert ui.set_property("stock", "count", 3).result is True
    assert ui.get_property("stock", "count").value == 3
    assert ui.get_property("countLabel", "text").value == "3 of 5"


def test_qml_method_with_a_result(inventory):
    ui = inventory.client
    assert ui.invoke_ret("window", "addItem", "kiwi").value == 3


def test_keys_typed_into_a_text_field(inventory):
    ui = inventory.client
    assert ui.click("nameField").result is True
    assert ui.type_text(text="fig")
    assert ui.key_click(key=Key.RETURN).result is True
    assert ui.get_property("nameField", "text").value == "fig"


def test_signal_of_the_cpp_type_is_awaited(inventory):
    ui = inventory.client
    ui.set_property("stock", "count", 4)
    with ui.batch() as batch:
        batch.click("restockButton")
        batch.wait_signal("stock", "limitReached()", timeout_ms=5000)
    assert [reply.result for reply in batch.replies] == [True, True]
    assert ui.get_property("statusLabel", "text").value == "limit reached"


def test_delegates_created_later_are_found_by_id(inventory):
    ui = inventory.client
    assert ui.click("itemRow").result is True
    assert ui.get_property("statusLabel", "text").value == "picked apples"
    # Every row made so far goes; the next row is a delegate created after the scene was named.
    assert ui.invoke("items", "clear").result is True
    assert wait_until(lambda: not ui.exists("itemRow")), "the list keeps its rows"
    assert ui.invoke_ret("window", "addItem", "plums").value == 1
    assert wait_until(lambda: ui.exists("itemRow")), "the new row is not found by its id"
    assert ui.click("itemRow").result is True
    assert ui.get_property("statusLabel", "text").value == "picked plums"


def test_popup_content_is_found_by_id(inventory):
    ui = inventory.client
    ui.click("addButton")
    assert ui.click("clearButton").result is True
    assert ui.wait_for_property("confirmPopup", "opened", True, timeout=10)
    assert ui.click("confirmButton").result is True
    assert ui.wait_for_property("statusLabel", "text", "cleared", timeout=10)
    assert ui.get_property("itemList", "count").value == 0


def test_without_name_from_ids_objects_stay_unnamed(launch):
    app = launch([program("UIREMOTE_INVENTORY")])
    assert app.client.click("addButton", window="window").result is False


def test_bare_preload_serves_the_program(tmp_path, isolated_env):
    env = dict(isolated_env, LD_PRELOAD=program("UIREMOTE_PROBE"), UIREMOTE_PORT="{port}",
               UIREMOTE_NAME_FROM_IDS="1")
    app = Application.start(["env", *("%s=%s" % item for item in env.items()), program("UIREMOTE_INVENTORY")],
                            log_dir=tmp_path, banner=PROBE_BANNER, ready_timeout=60.0)
    try:
        assert app.client.click("addButton", window="window").result is True
        assert app.client.get_property("stock", "count").value == 1
    finally:
        app.stop()


def test_exit_status_is_the_programs(tmp_path, isolated_env):
    import subprocess
    launcher = program("UIREMOTE_LAUNCH")
    done = subprocess.run([launcher, "--", "sh", "-c", "exit 7"], env={**os.environ, **isolated_env},
                          capture_output=True, timeout=60)
    assert done.returncode == 7


def test_unknown_option_is_refused(isolated_env):
    import subprocess
    launcher = program("UIREMOTE_LAUNCH")
    done = subprocess.run([launcher, "--colour", "--", "true"], capture_output=True, timeout=60)
    assert done.returncode == 2
    # The launcher names itself: uiremote-launch, or uiremote-launch-qt6 in a Qt 6 build.
    assert done.stderr.decode().startswith("%s: unknown option --colour\n" % os.path.basename(launcher))
