import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15

// Targets of "wheel" and "swipe": a wheel pad that records wheel events, a Flickable, a ListView
// and a SwipeView side by side, and a Drawer in a window of its own.
Window {
    objectName: "gestureWindow"
    width: 640
    height: 400
    visible: true

    Flickable {
        objectName: "flick"
        x: 0; y: 0; width: 200; height: 300
        contentWidth: 200; contentHeight: 5000
        flickDeceleration: 8000
        clip: true
        Rectangle { width: 200; height: 5000; color: "lightsteelblue" }
    }

    ListView {
        objectName: "list"
        x: 210; y: 0; width: 200; height: 300
        model: 200
        clip: true
        flickDeceleration: 8000
        delegate: Rectangle { width: 200; height: 40; border.width: 1; Text { text: index } }
    }

    SwipeView {
        objectName: "pages"
        x: 420; y: 0; width: 200; height: 300
        clip: true
        Repeater {
            model: 3
            Rectangle { width: 200; height: 300; color: ["red", "green", "blue"][index] }
        }
    }

    Rectangle {
        objectName: "wheelPad"
        x: 0; y: 310; width: 200; height: 80
        property var wheels: []
        MouseArea {
            anchors.fill: parent
            onWheel: parent.wheels.push([wheel.angleDelta.x, wheel.angleDelta.y, wheel.pixelDelta.x,
                                         wheel.pixelDelta.y, wheel.modifiers].join(" "))
        }
    }

    Window {
        objectName: "drawerWindow"
        width: 300; height: 300
        visible: true
        Rectangle { objectName: "drawerPage"; anchors.fill: parent }
        Drawer {
            objectName: "drawer"
            width: 200; height: parent.height
        }
    }
}
