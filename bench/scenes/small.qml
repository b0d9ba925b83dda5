// The small scene of the round-trip benchmarks: a window, a few named items, a MouseArea button
// and QML functions (echo for ordered pipelined replies, next for a counter).
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    id: root
    objectName: "mainWindow"
    width: 320
    height: 240
    visible: true
    title: "uiremote bench"

    property int clicks: 0
    property int calls: 0

    Item {
        objectName: "main"
        anchors.fill: parent

        Text {
            objectName: "title"
            x: 10; y: 10
            text: "uiremote bench"
        }

        Rectangle {
            objectName: "box"
            x: 10; y: 40
            width: 60; height: 30
            color: "steelblue"
            property int level: 0
        }

        Rectangle {
            objectName: "okButton"
            x: 100; y: 40
            width: 80; height: 30
            color: okArea.pressed ? "darkgray" : "lightgray"

            MouseArea {
                id: okArea
                objectName: "okArea"
                anchors.fill: parent
                onClicked: root.clicks++
            }
        }

        Column {
            objectName: "list"
            x: 10; y: 90
            Repeater {
                model: 3
                Text { objectName: "row" + index; text: "row " + index }
            }
        }

        Item {
            objectName: "logic"
            function echo(value) { return value }
            function next() { root.calls++; return root.calls }
        }
    }
}
