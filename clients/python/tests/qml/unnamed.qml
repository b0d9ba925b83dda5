// A scene written without any objectName: only ids. uiremote-host's --name-from-ids makes the
// ids usable as names in object paths.
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    id: win
    width: 240
    height: 120
    visible: true

    Item {
        id: box
        anchors.fill: parent

        Rectangle {
            id: button
            x: 10; y: 10; width: 80; height: 40
            color: "lightsteelblue"
            property int clicks: 0
            MouseArea { anchors.fill: parent; onClicked: button.clicks += 1 }
        }

        Text {
            id: caption
            x: 10; y: 60
            text: "clicked " + button.clicks + " times"
        }
    }
}
