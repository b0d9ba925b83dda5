import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15

// Views whose rows do not exist until scrolled to, a Flickable with a button out of view, a combo
// box in a modal dialog, a tool tip, a swiped delegate, and a window without a name.
ApplicationWindow {
    objectName: "scrollWindow"
    width: 400
    height: 520
    visible: true

    // A hundred rows of 40: about five exist at a time. It starts in the middle, so that rows
    // above and below are missing.
    ListView {
        id: longList
        objectName: "longList"
        x: 0; y: 0; width: 150; height: 200
        clip: true
        property string lastClicked: ""
        model: 100
        delegate: ItemDelegate {
            width: 150; height: 40
            text: "Row " + index
            onClicked: longList.lastClicked = text
        }
        Component.onCompleted: positionViewAtIndex(50, ListView.Beginning)
    }

    Flickable {
        objectName: "flick"
        x: 160; y: 0; width: 150; height: 150
        clip: true
        contentHeight: 1000
        Button {
            objectName: "farButton"
            property int presses: 0
            y: 600; width: 100; height: 40
            text: "Far"
            onPressed: presses += 1
        }
    }

    ListView {
        id: wheelList
        objectName: "wheelList"
        x: 0; y: 210; width: 150; height: 200
        clip: true
        model: 200
        delegate: Rectangle { width: 150; height: 40; border.width: 1 }
    }

    Button {
        objectName: "tipButton"
        x: 160; y: 160; width: 100; height: 40
        text: "Tip"
        ToolTip.text: "A tip"
        ToolTip.delay: 0
        ToolTip.timeout: -1
    }

    ListView {
        id: swipeList
        objectName: "swipeList"
        x: 160; y: 260; width: 220; height: 200
        model: ListModel {
            ListElement { label: "First" }
            ListElement { label: "Second" }
            ListElement { label: "Third" }
        }
        delegate: SwipeDelegate {
            id: swipeDelegate
            width: 220; height: 40
            text: label
            swipe.right: Rectangle {
                width: parent.width; height: parent.height
                color: "darkred"
                SwipeDelegate.onClicked: swipeList.model.remove(index)
                Label { text: "Remove"; anchors.centerIn: parent }
            }
        }
    }

    Dialog {
        objectName: "dialog"
        x: 50; y: 40; width: 300; height: 200
        modal: true
        title: "Settings"
        ComboBox {
            objectName: "combo"
            width: 200
            model: ["First", "Second", "Third", "Fourth", "Fifth", "Sixth", "Seventh", "Eighth"]
        }
    }

    Window {
        width: 120; height: 80
        visible: true
        Rectangle { objectName: "namelessTop"; anchors.fill: parent }
    }
}
