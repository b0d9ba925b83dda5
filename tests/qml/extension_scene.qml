// Scene for the extension-mode suites: selectors, the live tree, "find", screenshots, reasons,
// attached and dotted properties, typed methods. Most controls here have no name on purpose.
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Window 2.15

ApplicationWindow {
    id: mainWindow
    objectName: "mainWindow"
    width: 400
    height: 400
    visible: true

    property int typedSum: 0
    function addInts(a, b) { typedSum = a + b; return typedSum }

    Column {
        id: column
        objectName: "main"
        Button {
            id: okButton
            objectName: "okButton"
            text: "OK"
            property int clicks: 0
            onClicked: clicks += 1
            ToolTip.text: "Confirms"
        }
        Button { text: "Push"; property int clicks: 0; onClicked: clicks += 1 }
        Button { text: "Push"; property int clicks: 0; onClicked: clicks += 1 }
        CheckBox { text: "first" }
        CheckBox { text: "second"; checked: true }
        CheckBox { text: "third" }
        Rectangle { id: plainRect; width: 10; height: 10; color: "red" }
    }

    ListView {
        id: list
        objectName: "list"
        y: 250
        width: 200
        height: 100
        clip: true
        model: 20
        delegate: Text { text: "row " + index; height: 20 }
        ScrollBar.vertical: ScrollBar { id: bar }
    }

    StackView {
        id: stack
        objectName: "stack"
        x: 250
        width: 150
        height: 200
        initialItem: Rectangle { color: "green"; property string page: "first" }
    }
    Component {
        id: secondPage
        Rectangle { color: "blue"; property string page: "second" }
    }
    function pushSecond() { stack.push(secondPage) }

    // Braces are ordinary name characters outside extension mode.
    Item { objectName: "{odd}"; property int marker: 5 }
    QtObject { objectName: "plainObject"; signal ping() }

    Window {
        id: hiddenWindow
        objectName: "hiddenWindow"
        width: 100
        height: 100
        visible: false
        Rectangle { objectName: "hiddenRect"; width: 50; height: 50 }
    }
}
