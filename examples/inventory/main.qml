import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Window 2.15
import Inventory 1.0

// Every object here is known by its id only: no objectName anywhere.
ApplicationWindow {
    id: window
    width: 400
    height: 480
    visible: true
    title: "Inventory"

    function addItem(name) {
        items.append({ "name": String(name) })
        return items.count
    }

    Stock { id: stock }

    ListModel {
        id: items
        ListElement { name: "apples" }
        ListElement { name: "pears" }
    }

    Column {
        id: form
        spacing: 8
        padding: 8

        Label { id: countLabel; text: stock.count + " of " + stock.limit }
        Button { id: addButton; text: "Add one"; onClicked: stock.add(1) }
        TextField { id: nameField; width: 200; placeholderText: "new item" }
        Button {
            id: saveButton
            text: "Save"
            onClicked: { window.addItem(nameField.text); nameField.text = "" }
        }
        Button { id: restockButton; text: "Restock later"; onClicked: restockTimer.start() }
        Button { id: clearButton; text: "Clear all"; onClicked: confirmPopup.open() }
        Label { id: statusLabel; text: "ready" }
    }

    ListView {
        id: itemList
        anchors { top: form.bottom; left: parent.left; right: parent.right; bottom: parent.bottom }
        clip: true
        model: items
        delegate: ItemDelegate {
            id: itemRow
            width: itemList.width
            text: model.name
            onClicked: statusLabel.text = "picked " + model.name
        }
    }

    Timer { id: restockTimer; interval: 200; onTriggered: stock.add(1) }

    Popup {
        id: confirmPopup
        anchors.centerIn: parent
        modal: true
        Button {
            id: confirmButton
            text: "Remove everything"
            onClicked: { items.clear(); stock.count = 0; confirmPopup.close(); statusLabel.text = "cleared" }
        }
    }

    Connections {
        target: stock
        function onLimitReached() { statusLabel.text = "limit reached" }
    }
}
