import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    objectName: "mainWindow"
    width: 320
    height: 200
    visible: true
    title: "embed example"

    Item {
        objectName: "main"
        anchors.fill: parent

        Rectangle {
            objectName: "okButton"
            property int clicks: 0
            property string label: "OK"
            x: 20; y: 20; width: 120; height: 40
            color: area.pressed ? "steelblue" : "lightsteelblue"
            Text { anchors.centerIn: parent; text: parent.label + " (" + parent.clicks + ")" }
            MouseArea { id: area; anchors.fill: parent; onClicked: parent.clicks += 1 }

            function greet(name) { return "hello " + name }
        }
    }
}
