import QtQuick 2.15
import QtQuick.Window 2.15

// Names repeat on purpose: the first "row" is found by its name alone, later ones only through
// their named ancestors, and one is not found by any name path.
Window {
    id: window
    objectName: "win"
    width: 300; height: 300
    visible: true

    Item {
        id: panel
        objectName: "panel"
        Item { objectName: "row" }
        Item { objectName: "a.b" }
    }
    Item {
        objectName: "other"
        Item { objectName: "row" }
        Item {
            objectName: "inner"
            Item { objectName: "row" }
        }
    }
    Item {
        objectName: "other"
        Item { objectName: "row" } // "other.row" finds the earlier one: no path for this one
    }
    Column {
        objectName: "column"
        Repeater {
            model: 3
            Rectangle { objectName: "cell" + index; width: 10; height: 10 }
        }
    }
    ListView {
        id: list
        objectName: "list"
        width: 100; height: 100
        model: 3
        delegate: Rectangle { id: delegateRect; objectName: "entry" + index; width: 100; height: 20 }
    }
    Item { id: unnamedWithId }
}
