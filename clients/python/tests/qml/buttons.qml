import QtQuick 2.12
import QtQuick.Controls 2.12

// Two buttons told apart only by their texts, as the shell's selectors find them.
ApplicationWindow {
    objectName: "buttonsWindow"
    width: 240; height: 120
    visible: true
    property string last: ""

    Row {
        objectName: "row"
        spacing: 10
        Button { text: "First"; onClicked: last = text }
        Button { text: "Second"; onClicked: last = text }
    }
}
