import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15

// Text fields for "typetext". Each records the text and key code of every key press it sees.
Window {
    objectName: "typingWindow"
    width: 400
    height: 300
    visible: true

    TextField {
        id: field
        objectName: "field"
        x: 10; y: 10; width: 300; height: 40
        focus: true
        property var presses: []
        Keys.onPressed: presses.push(event.text + "/" + event.key)
    }

    TextArea {
        objectName: "area"
        x: 10; y: 60; width: 300; height: 100
        property var presses: []
        Keys.onPressed: presses.push(event.text + "/" + event.key)
    }

    Rectangle {
        objectName: "plain"
        x: 10; y: 170; width: 50; height: 50
    }

    Window {
        objectName: "hiddenWindow"
        width: 100; height: 100
        visible: false
        TextField { objectName: "hiddenField"; focus: true }
    }
}
