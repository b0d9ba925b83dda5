// Scene for the object location, property and method tests.
//
// The tests assert exact routes through this tree, so the order of the children below matters:
// keep new objects at the end of their parent unless a test says otherwise.
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    id: mainWindow
    objectName: "mainWindow"
    width: 640
    height: 480
    visible: true

    Item {
        id: mainView
        objectName: "mainView"
        width: 640
        height: 480

        property int bumps: 0
        property int noArgCalls: 0
        property var lastArgs: []

        // Functions reached through "invoke" / "invokeret" and the unnamed lookup.
        function bump() { bumps += 1 }
        function currentButton() { return okButton }
        function backendObject() { return backend }
        function answer() { return 42 }
        function noArgs() { noArgCalls += 1; return "none" }
        function one(a) { return "one:" + a }
        function two(a, b) { return a + b }
        function ten(a, b, c, d, e, f, g, h, i, j) {
            lastArgs = [a, b, c, d, e, f, g, h, i, j]
            return lastArgs.join(",")
        }
        function returnsNothing() { bumps += 1 }

        Rectangle {
            id: okButton
            objectName: "okButton"
            x: 10
            y: 10
            width: 80
            height: 30
            property int count: 0
            readonly property int fixed: 7
            property string caption: ""
        }

        Item {
            objectName: "panel"
            Item {
                objectName: "inner"
                Rectangle {
                    property string marker: "firstUnnamed"
                    Text {
                        objectName: "label"
                        text: ""
                    }
                }
            }
        }

        // Same-named siblings: only the second one holds "secondOnly".
        Item {
            objectName: "twins"
            Item {
                objectName: "twin"
                property int order: 1
                Item { objectName: "shared" ; property int order: 1 }
            }
            Item {
                objectName: "twin"
                property int order: 2
                Item { objectName: "shared" ; property int order: 2 }
                Item { objectName: "secondOnly" }
            }
        }

        // Empty path segments: the unnamed item sits below a named pass-through item.
        Item {
            objectName: "gapHost"
            Item {
                objectName: "wrapper"
                Item {
                    Item { objectName: "deep" }
                }
            }
        }

        Row {
            objectName: "repeaterRow"
            y: 100
            Repeater {
                objectName: "rowRepeater"
                model: 3
                delegate: Rectangle {
                    objectName: "cell" + index
                    width: 20
                    height: 20
                    property int cellIndex: index
                }
            }
            Repeater {
                objectName: "otherRepeater"
                model: 2
                delegate: Item {
                    objectName: "otherCell" + index
                    width: 20
                    height: 20
                }
            }
        }

        ListView {
            objectName: "listView"
            y: 150
            width: 200
            height: 100
            model: 3
            delegate: Item {
                objectName: "listDelegate" + index
                width: 200
                height: 20
                property int row: index
            }
        }

        GridView {
            objectName: "gridView"
            y: 260
            width: 200
            height: 100
            cellWidth: 50
            cellHeight: 50
            model: 4
            delegate: Item {
                objectName: "gridDelegate" + index
                width: 50
                height: 50
            }
        }

        Flickable {
            objectName: "flickable"
            x: 300
            width: 100
            height: 100
            contentWidth: 300
            contentHeight: 300
            Item {
                objectName: "flickChild"
                width: 10
                height: 10
            }
        }

        // A ListView with a property of its own: QML gives it a derived class of QQuickListView.
        ListView {
            objectName: "derivedList"
            property int extra: 1
            x: 300
            y: 150
            width: 100
            height: 100
            model: 2
            delegate: Item {
                objectName: "derivedDelegate" + index
                width: 100
                height: 20
            }
        }

        // A plain QObject target.
        QtObject {
            objectName: "settings"
            property string mode: "auto"
        }

        // A repeater whose delegate component lives outside it: its own children() is empty.
        Column {
            objectName: "bareColumn"
            x: 500
            Component {
                id: bareCell
                Item {
                    objectName: "bareCell" + index
                    width: 10
                    height: 10
                    property int cellIndex: index
                }
            }
            Repeater {
                objectName: "bareRepeater"
                model: 2
                delegate: bareCell
            }
        }

        // An item held by a property: it has no parent item and so no window.
        property Item floating: Item {
            objectName: "floatingItem"
        }
    }

    // A second top-level window without an object name.
    Window {
        width: 200
        height: 100
        visible: true
        Item {
            objectName: "secondWindowItem"
            width: 50
            height: 50
        }
    }
}
