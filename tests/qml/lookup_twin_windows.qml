// Two top-level windows with the same object name. Each names the item it shows in
// "targetName", so a test can aim at an item of either window.
import QtQuick 2.15
import QtQuick.Window 2.15

Item {
    objectName: "twinRoot"

    Window {
        objectName: "twinWindow"
        property string targetName: "twinTargetA"
        width: 200
        height: 200
        visible: true
        Item {
            objectName: "twinTargetA"
            x: 20
            y: 20
            width: 40
            height: 40
        }
    }

    Window {
        objectName: "twinWindow"
        property string targetName: "twinTargetB"
        width: 200
        height: 200
        visible: true
        Item {
            objectName: "twinTargetB"
            x: 20
            y: 20
            width: 40
            height: 40
        }
    }
}
