import QtQuick 2.15
import QtQuick.Window 2.15

// The scene that fuzz_wire drives. A fresh copy is created for every input, so nothing one input
// does to it (properties written, items moved, keys typed) carries over to the next. It holds
// one of each thing the object search handles in its own way (repeater and view delegates, a
// flickable's content, unnamed levels, twin names, a second window) and properties and functions
// of the common value types for getpro, setpro, invoke and invokeret. The windows stay hidden.
Window {
    id: mainWindow
    objectName: "mainWindow"
    width: 320
    height: 240
    visible: false

    property int counter: 0
    property real ratio: 0.5
    property string label: "main"
    property bool flag: true
    property var anything: [1, "two", {"three": 3}, null]
    property var nothing
    property color tint: "red"
    property point spot: Qt.point(3, 4)
    property size extent: Qt.size(5, 6)
    property rect area: Qt.rect(1, 2, 3, 4)
    property url link: "file:///tmp/x"
    property date when: new Date(0)
    property list<QtObject> things: [QtObject { objectName: "thing" }]

    signal poked()
    signal valued(int value)

    function echo(v) { return v }
    function add(a, b) { return a + b }
    function poke() { counter++; poked(); valued(counter); return counter }
    function fail() { throw new Error("thrown on purpose") }
    function itemNamed(name) {
        var all = [okButton, dragBox, input, row, list, grid, flick, deep, mainWindow]
        for (var i = 0; i < all.length; ++i)
            if (all[i].objectName === String(name))
                return all[i]
        return null
    }
    function firstDelegate() { return list.itemAtIndex(0) }

    Item {
        id: main
        objectName: "main"
        anchors.fill: parent

        Rectangle {
            id: okButton
            objectName: "okButton"
            x: 10; y: 10; width: 80; height: 30
            property int clicks: 0
            signal clicked()
            MouseArea {
                objectName: "okArea"
                anchors.fill: parent
                hoverEnabled: true
                acceptedButtons: Qt.AllButtons
                onClicked: { okButton.clicks++; okButton.clicked() }
                onDoubleClicked: okButton.clicks += 2
            }
        }
        Rectangle {
            id: dragBox
            objectName: "dragBox"
            x: 100; y: 10; width: 40; height: 40
            MouseArea {
                objectName: "dragArea"
                anchors.fill: parent
                drag.target: dragBox
            }
        }
        TextInput {
            id: input
            objectName: "input"
            x: 10; y: 50; width: 120; height: 20
            focus: true
            text: "abc"
        }
        Row {
            id: row
            objectName: "row"
            x: 10; y: 80
            Repeater {
                objectName: "repeater"
                model: 3
                Rectangle { objectName: "cell" + index; width: 20; height: 20 }
            }
        }
        ListView {
            id: list
            objectName: "list"
            x: 10; y: 110; width: 100; height: 60
            model: 5
            delegate: Rectangle {
                objectName: "entry" + index
                width: 100; height: 15
                Item { objectName: "inner" }
            }
        }
        GridView {
            id: grid
            objectName: "grid"
            x: 120; y: 110; width: 60; height: 60
            cellWidth: 30; cellHeight: 30
            model: 4
            delegate: Item { objectName: "tile" + index; width: 30; height: 30 }
        }
        Flickable {
            id: flick
            objectName: "flick"
            x: 190; y: 110; width: 60; height: 60
            contentWidth: 200; contentHeight: 200
            Rectangle { objectName: "content"; width: 200; height: 200 }
        }
        Item {
            // a level without a name
            Item {
                id: deep
                objectName: "deep"
                Item { objectName: "deeper" }
            }
        }
        Item { objectName: "twin"; width: 1; height: 1 }
        Item { objectName: "twin"; width: 2; height: 2 }
    }

    Window {
        objectName: "otherWindow"
        width: 100
        height: 80
        visible: false
        Rectangle { objectName: "otherRect"; width: 50; height: 50 }
    }
}
