"""Selenium drives a Qt 6 program of our own (examples/inventory, built against Qt 6) through
``uiremote webdriver``, which starts it under the Qt 6 launcher: find, click, type, read
properties, and a script in its QML engine."""

import pytest

selenium = pytest.importorskip("selenium")

from selenium import webdriver  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.options import ArgOptions  # noqa: E402

from conftest import program  # noqa: E402


@pytest.fixture
def inventory(endpoint):
    options = ArgOptions()
    options.set_capability("uiremote:options", {"app": program("UIREMOTE_QT6_PROGRAM"),
                                                "env": {"QT_QUICK_CONTROLS_STYLE": "Basic"}})
    made = webdriver.Remote(command_executor=endpoint, options=options)
    yield made
    made.quit()


def test_find_click_and_read_a_qt6_program(inventory):
    d = inventory
    count = d.find_element(By.ID, "countLabel")
    before = count.text
    d.find_element(By.CSS_SELECTOR, "Button[text='Add one']").click()
    assert count.text != before
    assert d.execute_script("return arguments[0].text", count) == count.text
    field = d.find_element(By.ID, "nameField")
    field.send_keys("bolts")
    d.find_element(By.ID, "saveButton").click()
    row = d.find_element(By.XPATH, "//ItemDelegate[@text='bolts']")
    row.click()
    assert d.find_element(By.ID, "statusLabel").get_property("text") == "picked bolts"
