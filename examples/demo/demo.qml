import QtQuick 2.15
import QtQuick.Window 2.15

// A target for every control. Each target shows what happened to it, so the final screenshot
// tells the story of the demo run.
Window {
    objectName: "demoWindow"
    width: 640
    height: 420
    visible: true
    color: "#f4f4f4"
    title: "uiremote demo"

    Item {
        objectName: "main"
        anchors.fill: parent

        Column {
            objectName: "left"
            x: 12; y: 16
            spacing: 10

            Rectangle {
                objectName: "okButton"
                property int clicks: 0
                property int doubleClicks: 0
                property string lastButton: ""
                property int lastModifiers: 0
                width: 200; height: 40; radius: 4
                color: okArea.pressed ? "#4a78b0" : "#7fa6d6"
                Text {
                    anchors.centerIn: parent
                    text: "OK: " + parent.clicks + " clicks, " + parent.doubleClicks + " double"
                          + (parent.lastButton ? ", " + parent.lastButton : "")
                }
                MouseArea {
                    id: okArea
                    anchors.fill: parent
                    acceptedButtons: Qt.AllButtons
                    onClicked: {
                        parent.clicks += 1
                        parent.lastButton = mouse.button === Qt.RightButton ? "right"
                                          : mouse.button === Qt.MiddleButton ? "middle" : "left"
                        parent.lastModifiers = mouse.modifiers
                    }
                    onDoubleClicked: parent.doubleClicks += 1
                }
            }

            Rectangle {
                objectName: "hoverPad"
                property bool hovered: hoverArea.containsMouse
                width: 180; height: 30; radius: 4
                color: hovered ? "#f0c36d" : "#dddddd"
                Text { anchors.centerIn: parent; text: parent.hovered ? "hovered" : "hover me" }
                MouseArea { id: hoverArea; anchors.fill: parent; hoverEnabled: true }
            }

            Rectangle {
                objectName: "pressPad"
                property bool held: pressArea.pressed
                width: 180; height: 30; radius: 4
                color: held ? "#c0504d" : "#dddddd"
                Text { anchors.centerIn: parent; text: parent.held ? "held down" : "press me" }
                MouseArea { id: pressArea; anchors.fill: parent }
            }

            Rectangle {
                width: 180; height: 30; color: "white"; border.color: "#888888"
                TextInput {
                    objectName: "nameField"
                    anchors.fill: parent; anchors.margins: 6
                    focus: true
                    text: ""
                }
            }

            Row {
                objectName: "swatches"
                spacing: 6
                Repeater {
                    model: ["#d9534f", "#5cb85c", "#5bc0de"]
                    Rectangle {
                        objectName: "swatch" + index
                        property string tone: modelData
                        width: 40; height: 24; color: modelData
                    }
                }
            }

            ListView {
                objectName: "fruitList"
                width: 180; height: 80
                clip: true
                model: ["apple", "banana", "cherry", "damson"]
                delegate: Text { objectName: "fruit_" + modelData; text: modelData; height: 20 }
            }
        }

        Rectangle {
            objectName: "dragArea"
            x: 230; y: 16; width: 390; height: 200
            color: "#e8eef5"; border.color: "#9aaec6"
            Rectangle {
                objectName: "dragBox"
                x: 10; y: 10; width: 60; height: 40; radius: 4
                color: boxArea.drag.active ? "#5b8c5a" : "#8cbf8a"
                Text { anchors.centerIn: parent; text: "drag" }
                MouseArea { id: boxArea; anchors.fill: parent; drag.target: parent }
            }
        }

        Column {
            x: 230; y: 230
            spacing: 6

            Item {
                objectName: "clock"
                property int ticks: 0
                signal tick()
                width: 390; height: 18
                Timer { interval: 200; running: true; repeat: true; onTriggered: { parent.ticks += 1; parent.tick() } }
                Text { text: "clock ticks: " + parent.ticks }
            }

            Item {
                objectName: "calculator"
                width: 390; height: 18
                property string lastCall: "no call yet"
                function add(a, b) { lastCall = "add(" + a + ", " + b + ")"; return a + b }
                function reset() { lastCall = "reset()" }
                function selected() { return fruitPick }
                Item { id: fruitPick; objectName: ""; property string label: "picked by a function" }
                Text { text: "calculator: " + parent.lastCall }
            }

            Text { objectName: "joystickLabel"; text: "joystick: " + JoystickPlugin.status }
            Text { objectName: "alarmLabel"; text: "alarm rings: " + AlarmPlugin.rings }
        }
    }
}
