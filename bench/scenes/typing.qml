// The scene of the typing and wait benchmarks: a focused text input, and a property that holds.
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    objectName: "typingWindow"
    width: 320
    height: 240
    visible: true

    TextInput {
        objectName: "input"
        width: 300; height: 30
        focus: true
        property int level: 7
    }
}
