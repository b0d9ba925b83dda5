import QtQuick 2.15
import QtQuick.Window 2.15

// The host application's main scene: the remote control is handed this window as its root.
Window {
    objectName: "pluginWindow"
    width: 240
    height: 160
    visible: true

    Item {
        objectName: "box"
        property string label: "first scene"
        width: 100
        height: 50
    }
}
