// Scene of the soak and bad-input tests: a few named items whose properties record what
// reached them, so that a test can tell afterwards which controls really ran.
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    objectName: "robustWindow"
    width: 320
    height: 240
    visible: true
    title: "uiremote robustness"

    Item {
        objectName: "main"
        anchors.fill: parent

        // Counts clicks; every accepted "click" control adds exactly one.
        Rectangle {
            id: button
            objectName: "button"
            x: 20; y: 20; width: 80; height: 40
            color: "lightsteelblue"
            property int clicks: 0
            property int lastModifiers: 0
            MouseArea {
                anchors.fill: parent
                onClicked: { button.clicks += 1; button.lastModifiers = mouse.modifiers }
            }
        }

        // Keyboard target: has the focus and counts the keys that reach it.
        Item {
            id: keys
            objectName: "keys"
            x: 120; y: 20; width: 80; height: 40
            focus: true
            property int presses: 0
            property int lastKey: -1
            Keys.onPressed: { presses += 1; lastKey = event.key }
        }

        // Free values, written and read back by the tests.
        Item {
            id: props
            objectName: "props"
            property string label: "initial"
            property int count: 3
            property int written: 0
        }

        // Returns what it is given: a reply that proves which request it answers.
        Item {
            id: echo
            objectName: "echo"
            function echo(value) { return value }
        }

        // One slot per soak client, so that clients never share state.
        Column {
            objectName: "slots"
            x: 20; y: 80
            Repeater {
                model: 24
                Item {
                    objectName: "slot" + index
                    width: 4; height: 4
                    property int value: -1
                }
            }
        }

        // Declares a signal that nothing ever emits: "waitsignal" on it always times out.
        Item {
            id: silent
            objectName: "silent"
            signal never()
        }
    }
}
