// Scene for the end-to-end tests of the Python client: every item records what reached it in
// properties that the tests read back through "getpro".
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    id: window
    objectName: "mainWindow"
    width: 480
    height: 360
    visible: true
    title: "uiremote client tests"

    Item {
        objectName: "main"
        anchors.fill: parent

        // Records clicks, presses and releases with button, modifiers and local position.
        Rectangle {
            id: button
            objectName: "button"
            x: 10; y: 10; width: 101; height: 51
            color: area.pressed ? "steelblue" : "lightsteelblue"
            property int clicks: 0
            property int doubleClicks: 0
            property int presses: 0
            property int releases: 0
            property int lastButton: 0
            property int lastModifiers: 0
            property real lastX: -1
            property real lastY: -1
            property bool held: area.pressed

            function record(mouse) {
                lastButton = mouse.button
                lastModifiers = mouse.modifiers
                lastX = mouse.x
                lastY = mouse.y
            }

            MouseArea {
                id: area
                anchors.fill: parent
                acceptedButtons: Qt.LeftButton | Qt.RightButton | Qt.MiddleButton
                onPressed: { button.presses += 1; button.record(mouse) }
                onReleased: button.releases += 1
                onClicked: { button.clicks += 1; button.record(mouse) }
                onDoubleClicked: { button.doubleClicks += 1; button.record(mouse) }
            }
        }

        // Two buttons with the same name: the parent path tells them apart.
        Row {
            objectName: "panels"
            x: 10; y: 70; spacing: 10
            Repeater {
                model: ["panelA", "panelB"]
                Rectangle {
                    objectName: modelData
                    width: 60; height: 30
                    color: "lightgrey"
                    Rectangle {
                        objectName: "okButton"
                        property int clicks: 0
                        anchors.fill: parent
                        anchors.margins: 4
                        MouseArea { anchors.fill: parent; onClicked: parent.clicks += 1 }
                    }
                }
            }
        }

        // Hover tracking.
        Rectangle {
            id: hoverArea
            objectName: "hoverArea"
            x: 10; y: 110; width: 100; height: 40
            property bool hovered: hoverMouse.containsMouse
            property real hoverX: hoverMouse.mouseX
            property real hoverY: hoverMouse.mouseY
            MouseArea {
                id: hoverMouse
                anchors.fill: parent
                hoverEnabled: true
            }
        }

        // Drag surface: records press, move and release points; a press on the box drags it.
        Rectangle {
            id: dragArea
            objectName: "dragArea"
            x: 200; y: 10; width: 240; height: 160
            color: "whitesmoke"
            property real pressX: -1
            property real pressY: -1
            property real moveX: -1
            property real moveY: -1
            property real releaseX: -1
            property real releaseY: -1
            property int moves: 0
            property bool dragging: dragMouse.pressed

            Rectangle {
                id: dragBox
                objectName: "dragBox"
                x: 10; y: 10; width: 40; height: 40
                color: "orange"
            }

            MouseArea {
                id: dragMouse
                anchors.fill: parent
                property bool onBox: false
                property real grabX: 0
                property real grabY: 0
                onPressed: {
                    dragArea.pressX = mouse.x
                    dragArea.pressY = mouse.y
                    onBox = mouse.x >= dragBox.x && mouse.x < dragBox.x + dragBox.width
                            && mouse.y >= dragBox.y && mouse.y < dragBox.y + dragBox.height
                    grabX = mouse.x - dragBox.x
                    grabY = mouse.y - dragBox.y
                }
                onPositionChanged: {
                    dragArea.moves += 1
                    dragArea.moveX = mouse.x
                    dragArea.moveY = mouse.y
                    if (onBox) {
                        dragBox.x = mouse.x - grabX
                        dragBox.y = mouse.y - grabY
                    }
                }
                onReleased: {
                    dragArea.releaseX = mouse.x
                    dragArea.releaseY = mouse.y
                    onBox = false
                }
            }
        }

        // Keyboard target: has the focus from the start and records every key that reaches it.
        TextInput {
            id: input
            objectName: "input"
            x: 200; y: 190; width: 240; height: 24
            focus: true
            property int keyPresses: 0
            property var keys: []
            property int lastKey: 0
            property int lastModifiers: 0
            property string lastText: ""
            property int accepts: 0
            Keys.onPressed: {
                keyPresses += 1
                keys = keys.concat([event.key])
                lastKey = event.key
                lastModifiers = event.modifiers
                lastText = event.text
                event.accepted = false
            }
            onAccepted: accepts += 1
        }

        // Values and methods.
        Item {
            id: props
            objectName: "props"
            property string label: "initial"
            property int count: 3
            property real ratio: 0.5
            property bool flag: true
            property var items: [1, 2, 3]
            property var info: ({ name: "props", size: 2 })
            readonly property int fixed: 7
            property string empty: ""

            function add(a, b) { return a + b }
            function greet(name) { return "hello " + name }
            function bump() { count += 1 }
            function describe() { return { label: label, count: count, tags: ["a", "b"] } }
            function sum10(a, b, c, d, e, f, g, h, i, j) { return a + b + c + d + e + f + g + h + i + j }
            function anonymousButton() { return anonymous }
        }

        // An item without objectName, reachable only through props.anonymousButton().
        Rectangle {
            id: anonymous
            x: 10; y: 250; width: 60; height: 30
            color: "pink"
            property int clicks: 0
            property string tag: "anonymous"
            MouseArea { anchors.fill: parent; onClicked: anonymous.clicks += 1 }
        }

        // Signals, emitted by a timer once started through "invoke".
        Item {
            id: signals
            objectName: "signals"
            signal fired()
            signal ticked(int n)
            property int fires: 0

            function start(ms) {
                timer.interval = ms
                timer.start()
            }

            Timer {
                id: timer
                objectName: "timer"
                interval: 500
                repeat: false
                onTriggered: {
                    signals.fires += 1
                    signals.fired()
                    signals.ticked(signals.fires)
                }
            }
        }
    }

    // A second window, kept hidden so that the main window keeps the keyboard focus.
    Window {
        objectName: "toolWindow"
        width: 120; height: 80
        visible: false
        Rectangle {
            objectName: "toolBox"
            width: 50; height: 20
        }
    }
}
