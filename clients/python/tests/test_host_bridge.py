"""Model and plugin controls.  uiremote-host publishes no host plugins, so the model queries
fail, while the joystick and plugin-signal controls answer true whatever happened."""


def test_get_model_value_without_plugin_fails(ui):
    reply = ui.get_model_value("TreePlugin", "treeModel", "1/0", "name")
    assert reply.result is False and not reply.has_value
    assert ui.get_model_value("", "", "", "").result is False


def test_get_group_model_value_without_plugin_fails(ui):
    reply = ui.get_group_model_value("TreePlugin", "treeModel", "group", [0, 2], "name")
    assert reply.result is False and not reply.has_value


def test_get_filter_model_value_always_fails(ui):
    assert ui.get_filter_model_value("TreePlugin", "treeModel", "0", "name").result is False
    assert ui.get_filter_model_value().result is False


def test_joystick_controls_answer_true(ui):
    assert ui.add_joystick(["pad-1", "pad-2"]).result is True
    assert ui.add_joystick([]).result is True
    assert ui.joystick_button_event("pad-1", 3).result is True
    assert ui.move_joystick(0.5, -0.25, 1.0).result is True
    assert ui.move_joystick(x=0.5).result is True


def test_emit_plugin_signal_answers_true(ui):
    reply = ui.emit_plugin_signal("SomePlugin", "refresh")
    assert reply.result is True and not reply.has_value
    assert ui.emit_plugin_signal("", "").result is True


def test_bridge_controls_leave_the_scene_alone(ui):
    ui.add_joystick(["pad"])
    ui.emit_plugin_signal("JoystickPlugin", "destroyed")
    assert ui.get_property("main.props", "count").value == 3
