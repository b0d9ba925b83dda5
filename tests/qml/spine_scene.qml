import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    objectName: "spineWindow"
    width: 200; height: 120
    visible: true

    Item {
        objectName: "main"
        anchors.fill: parent

        Rectangle {
            objectName: "button"
            property int clicks: 0
            width: 80; height: 40
            MouseArea { anchors.fill: parent; onClicked: parent.clicks += 1 }
            function pair() { return [1, "two"] }
            function record() { return { "name": "x", "size": 3 } }
        }
    }
}
