import QtQuick 2.15
import QtQuick.Window 2.15

// A window whose items write down every pointer signal they get, for the pointer action tests.
Window {
    id: pointerWindow
    objectName: "pointerWindow"
    width: 400
    height: 300
    visible: true

    // Each entry: "<signal> <button> <buttons> <modifiers> <x>,<y>" in item coordinates.
    component RecordingArea: MouseArea {
        property var entries: []
        // Counted from work that a click leaves queued in the event loop.
        property int laterClicks: 0
        function note(kind, mouse) {
            entries.push(kind + " " + mouse.button + " " + mouse.buttons + " " + mouse.modifiers + " "
                         + mouse.x + "," + mouse.y)
        }
        // Hands the entries written so far to the caller and starts a new list.
        function take() {
            var written = entries
            entries = []
            return written
        }
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onPressed: note("pressed", mouse)
        onReleased: note("released", mouse)
        onClicked: {
            note("clicked", mouse)
            Qt.callLater(function() { laterClicks += 1 })
        }
        onDoubleClicked: note("doubleClicked", mouse)
        onPositionChanged: note("moved", mouse)
        onEntered: entries.push("entered")
        onExited: entries.push("exited")
        onCanceled: entries.push("canceled")
    }

    // 101 x 51 at the scene origin: its centre is (50.5, 25.5).
    RecordingArea {
        id: target
        objectName: "target"
        x: 0
        y: 0
        width: 101
        height: 51
    }

    // An item off whole-pixel positions, inside a named parent, to tell rounding before and
    // after mapping apart: centre (150.8, 86.1) in the scene, integer centre maps to (150.3, 85.6).
    Item {
        objectName: "panel"
        x: 100.3
        y: 60.6
        width: 200
        height: 100

        RecordingArea {
            id: shifted
            objectName: "shifted"
            width: 101
            height: 51
        }
    }

    // Scaled by 1.5 about its top left corner: only a mapping through the item's transform puts
    // a point where it belongs. Centre (50.5, 25.5) maps to (85.95, 238.65), the integer centre
    // (50, 25) to (85.2, 237.9).
    RecordingArea {
        id: scaled
        objectName: "scaled"
        x: 10.2
        y: 200.4
        width: 101
        height: 51
        scale: 1.5
        transformOrigin: Item.TopLeft
    }

    // Not a visual item: pointer actions can not target it.
    QtObject {
        objectName: "settings"
    }
}
