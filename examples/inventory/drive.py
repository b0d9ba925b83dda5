#!/usr/bin/python3
"""Drives the inventory example, a program that does not link the remote control, after
`uiremote-launch --name-from-ids` started it. Usage: drive.py PORT"""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "clients" / "python"))

from uiremote import Client  # noqa: E402


def step(what, reply):
    """Prints one step; reply is a Reply or, for the waits, a bool."""
    value = getattr(reply, "value", None)
    print("  %-44s %s" % (what, "ok" if reply else "FAILED"), "" if value is None else repr(value))
    return reply


def main(port):
    with Client("127.0.0.1", port, window="window") as ui:
        step("click addButton (known by its id only)", ui.click("addButton"))
        step("read countLabel.text", ui.get_property("countLabel", "text"))
        step("write stock.count (a C++ type)", ui.set_property("stock", "count", 4))
        with ui.batch() as batch:
            batch.click("restockButton")
            batch.wait_signal("stock", "limitReached()", timeout_ms=5000)
        step("click restockButton, wait for limitReached()", batch.replies[1])
        step("click nameField", ui.click("nameField"))
        step("type \"kiwi\"", ui.type_text(text="kiwi") and ui.get_property("nameField", "text"))
        step("click saveButton", ui.click("saveButton"))
        step("call window.addItem(\"plum\")", ui.invoke_ret("window", "addItem", "plum"))
        step("click the first itemRow delegate", ui.click("itemRow"))
        step("read statusLabel.text", ui.get_property("statusLabel", "text"))
        step("click clearButton (opens a popup)", ui.click("clearButton"))
        step("wait until the popup is open", ui.wait_for_property("confirmPopup", "opened", True, timeout=10))
        step("click confirmButton inside the popup", ui.click("confirmButton"))
        return step("wait until statusLabel.text is \"cleared\"",
                    ui.wait_for_property("statusLabel", "text", "cleared", timeout=10))


if __name__ == "__main__":
    sys.exit(0 if main(int(sys.argv[1])) else 1)
