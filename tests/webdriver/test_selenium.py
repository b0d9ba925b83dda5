"""Selenium (Debian's python3-selenium) drives Qt's Controls 2 gallery through
``uiremote webdriver``: locators, clicks, typing, state as Selenium reads it, actions,
screenshots, page source, errors, implicit waits, several sessions and attaching."""

import base64
import threading
import urllib.request
import json
import xml.etree.ElementTree as ET

import pytest

selenium = pytest.importorskip("selenium")

from selenium import webdriver  # noqa: E402
from selenium.common.exceptions import (ElementNotInteractableException, InvalidSelectorException,  # noqa: E402
                                        JavascriptException, NoSuchElementException, SessionNotCreatedException,
                                        StaleElementReferenceException, TimeoutException)
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.actions.wheel_input import ScrollOrigin  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402
from selenium.webdriver.common.options import ArgOptions  # noqa: E402
from selenium.webdriver.remote.webelement import WebElement  # noqa: E402

PNG = b"\x89PNG\r\n\x1a\n"


def open_drawer(d):
    menu = d.find_element(By.CSS_SELECTOR, "ToolBar ToolButton")  # the first: the menu button
    menu.click()
    drawer_list = d.find_element(By.ID, "listView")
    assert drawer_list.is_displayed()
    return drawer_list


def open_page(d, name):
    """Opens a gallery page from the drawer, scrolling the list when the row is not made yet."""
    drawer_list = open_drawer(d)
    rows = d.find_elements(By.LINK_TEXT, name)
    if not rows:
        ActionChains(d).scroll_from_origin(ScrollOrigin.from_element(drawer_list), 0, 900).perform()
        rows = d.find_elements(By.LINK_TEXT, name)
    assert rows, "no row %s in the drawer" % name
    rows[0].click()
    assert d.find_element(By.ID, "titleLabel").text == name


def test_drawer_by_css_row_by_xpath(driver):
    d = driver()
    assert d.title == "Qt Quick Controls 2"
    assert d.find_element(By.ID, "titleLabel").text == "Gallery"
    open_drawer(d)
    row = d.find_element(By.XPATH, "//ListView[@id='listView']//ItemDelegate[@text='Button']")
    assert row.tag_name == "ItemDelegate"
    row.click()
    assert d.find_element(By.ID, "titleLabel").text == "Button"
    assert not d.find_element(By.ID, "listView").is_displayed()  # the drawer closed
    buttons = d.find_elements(By.CSS_SELECTOR, "StackView Button[text^='Fir'], StackView Button[text$='ond']")
    assert [b.text for b in buttons] == ["First", "Second"]


def test_type_unicode_read_back_and_clear(driver):
    d = driver()
    open_page(d, "TextField")
    field = d.find_element(By.CSS_SELECTOR, "StackView TextField")
    field.send_keys("h\u00e9llo \u4f60\u597d \u00c0!")
    assert field.text == "h\u00e9llo \u4f60\u597d \u00c0!"
    assert field.get_property("text") == field.text
    field.send_keys(Keys.BACKSPACE * 3, Keys.HOME, "> ")
    assert field.text == "> h\u00e9llo \u4f60\u597d"
    field.clear()
    assert field.text == ""
    field.send_keys("abc", Keys.SHIFT, Keys.LEFT, Keys.LEFT, Keys.NULL, "X")
    assert field.text == "aX"
    field.clear()
    field.send_keys("a\U0001F600\U0001F44D", Keys.BACKSPACE)  # outside the BMP: one character each
    assert field.text == "a\U0001F600"


def test_state_as_selenium_reads_it(driver):
    d = driver()
    open_page(d, "CheckBox")
    first, second = d.find_elements(By.CSS_SELECTOR, "StackView CheckBox")[:2]
    assert (first.text, second.text) == ("First", "Second")
    assert first.is_selected() is True and second.is_selected() is False
    assert first.get_attribute("checked") == "true" and second.get_attribute("checked") is None
    assert first.get_attribute("text") == "First"
    assert first.is_displayed() and first.is_enabled()
    assert first.tag_name == "CheckBox"
    rect = first.rect
    assert rect["width"] > 0 and rect["height"] > 0 and 40 <= rect["y"] <= 520
    second.click()
    assert second.is_selected() is True
    hidden = d.find_element(By.ID, "styleBox")  # in the settings dialog, which is closed
    assert hidden.is_displayed() is False


def test_slider_dragged_with_action_chains(driver):
    d = driver()
    open_page(d, "Slider")
    slider = d.find_elements(By.CSS_SELECTOR, "StackView Slider")[0]
    before = slider.get_property("value")
    assert before == pytest.approx(0.5)
    ActionChains(d).click_and_hold(slider).move_by_offset(40, 0).release().perform()
    after = slider.get_property("value")
    assert after > before + 0.05


def test_window_and_element_screenshots_and_page_source(driver):
    d = driver()
    shot = d.get_screenshot_as_png()
    assert shot.startswith(PNG)
    label = d.find_element(By.ID, "titleLabel")
    part = label.screenshot_as_png
    assert part.startswith(PNG) and len(part) < len(shot)
    root = ET.fromstring(d.page_source)
    assert root.tag == "ApplicationWindow"
    titles = [e for e in root.iter("Label") if e.get("id") == "titleLabel"]
    assert titles and titles[0].get("text") == "Gallery" and titles[0].get("visible") == "true"
    assert d.window_handles == [d.current_window_handle] == ["window"]
    assert d.get_window_rect()["width"] > 0


def test_standard_errors(driver):
    d = driver()
    with pytest.raises(NoSuchElementException):
        d.find_element(By.ID, "noSuchThing")
    assert d.find_elements(By.ID, "noSuchThing") == []
    with pytest.raises(InvalidSelectorException):
        d.find_element(By.CSS_SELECTOR, "Button[text=")
    with pytest.raises(InvalidSelectorException):
        d.find_element(By.XPATH, "//Button[")
    with pytest.raises(ElementNotInteractableException):
        d.find_element(By.ID, "styleBox").click()
    open_page(d, "Button")
    first = d.find_element(By.CSS_SELECTOR, "StackView Button[text='First']")
    assert first.text == "First"
    d.find_element(By.CSS_SELECTOR, "ToolBar ToolButton").click()  # back: the page is popped
    assert d.find_element(By.ID, "titleLabel").text == "Gallery"
    with pytest.raises(StaleElementReferenceException):
        first.text


def test_execute_script(driver):
    d = driver()
    assert d.execute_script("return 6 * 7") == 42
    assert d.execute_script("return [arguments[0] + 1, arguments[1].length]", 1, "abc") == [2, 3]
    assert d.execute_script("return this.title") == "Qt Quick Controls 2"  # this: the root window
    label = d.find_element(By.ID, "titleLabel")
    assert d.execute_script("return arguments[0].text", label) == "Gallery"
    assert d.execute_script("arguments[0].text = 'Changed'", label) is None
    assert label.text == "Changed"
    same = d.execute_script("return arguments[0]", label)
    assert isinstance(same, WebElement) and same.id == label.id
    parent = d.execute_script("return arguments[0].parent", label)
    assert parent.id == d.find_element(By.XPATH, "//Label[@id='titleLabel']/..").id  # one object, one element
    with pytest.raises(JavascriptException, match="Error: boom"):
        d.execute_script("throw new Error('boom')")
    with pytest.raises(JavascriptException, match="ReferenceError"):
        d.execute_script("return noSuchName.x")


def test_execute_async_script_and_script_timeout(driver):
    d = driver()
    assert d.execute_async_script("arguments[arguments.length - 1](arguments[0] * 2)", 21) == 42
    label = d.find_element(By.ID, "titleLabel")
    late = d.execute_async_script(
        "var label = arguments[0], done = arguments[1];"
        "var timer = Qt.createQmlObject('import QtQml 2.0; Timer { interval: 50 }', this);"
        "timer.triggered.connect(function () { done(label); timer.destroy(); });"
        "timer.start();", label)
    assert isinstance(late, WebElement) and late.id == label.id
    d.set_script_timeout(0.3)
    with pytest.raises(TimeoutException):
        d.execute_script("while (true) {}")
    with pytest.raises(TimeoutException):
        d.execute_async_script("var never = arguments[0];")
    assert d.execute_script("return 1") == 1  # the program runs scripts again


def test_session_not_created_says_why(endpoint, tmp_path):
    options = ArgOptions()
    options.set_capability("uiremote:options", {"app": str(tmp_path / "missing-program"), "launchTimeout": 20})
    with pytest.raises(SessionNotCreatedException, match="missing-program"):
        webdriver.Remote(command_executor=endpoint, options=options)
    with urllib.request.urlopen(endpoint + "/status", timeout=10) as reply:
        assert json.load(reply)["value"]["ready"] is True


def test_two_sessions_at_once(driver):
    one, two = driver(), driver.more()
    assert one.session_id != two.session_id
    open_drawer(one)
    assert one.find_element(By.ID, "listView").is_displayed()
    assert not two.find_element(By.ID, "listView").is_displayed()
    one.quit()
    assert two.find_element(By.ID, "titleLabel").text == "Gallery"


def test_attach_with_token_and_implicit_wait(endpoint, served_gallery):
    options = ArgOptions()
    options.set_capability("uiremote:options", {"connect": "127.0.0.1:%d" % served_gallery.port,
                                                "token": served_gallery.token})
    d = webdriver.Remote(command_executor=endpoint, options=options)
    try:
        assert d.find_element(By.ID, "titleLabel").text == "Gallery"
        assert d.find_elements(By.LINK_TEXT, "Tumbler") == []  # not made yet: the list has not scrolled
        d.implicitly_wait(20)
        ui = served_gallery.client
        # The row is made by the program while the find waits.
        scroll = threading.Timer(0.3, lambda: ui.invoke("listView", "positionViewAtEnd"))
        scroll.start()
        row = d.find_element(By.LINK_TEXT, "Tumbler")
        scroll.join()
        assert row.tag_name == "ItemDelegate"
    finally:
        d.quit()
    assert served_gallery.running  # leaving an attached session leaves the program running
    assert ui.get_property("titleLabel", "text").value == "Gallery"
