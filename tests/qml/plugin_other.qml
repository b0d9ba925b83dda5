import QtQuick 2.15
import QtQuick.Window 2.15

// A second scene; its objects are reachable only when its window is the remote control's root.
Window {
    objectName: "otherWindow"
    width: 200
    height: 120
    visible: false

    Item {
        objectName: "otherBox"
        property string label: "second scene"
    }
}
