import QtQuick 2.15
import QtQuick.Window 2.15

// Two windows with a focused text field each, for the keyboard action tests. The fields write
// down every key they get before handling it.
Window {
    objectName: "keyWindow"
    width: 320
    height: 120
    visible: true

    // Each entry: "<pressed|released> <key> <modifiers> <text as JSON>".
    component RecordingField: TextInput {
        property var entries: []
        function take() {
            var written = entries
            entries = []
            return written
        }
        width: 280
        height: 30
        Keys.onPressed: entries.push("pressed " + event.key + " " + event.modifiers + " " + JSON.stringify(event.text))
        Keys.onReleased: entries.push("released " + event.key + " " + event.modifiers + " " + JSON.stringify(event.text))
    }

    RecordingField {
        objectName: "field"
        focus: true
    }

    Window {
        objectName: "otherKeyWindow"
        width: 320
        height: 120
        visible: true

        RecordingField {
            objectName: "otherField"
            focus: true
        }
    }
}
