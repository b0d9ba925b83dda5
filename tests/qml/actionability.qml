import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15

// Items a person could or could not click. Every mouse area counts its presses.
Window {
    objectName: "actWindow"
    width: 300
    height: 300
    visible: true

    component Target: MouseArea {
        property int presses: 0
        width: 60; height: 30
        onPressed: presses += 1
    }

    Target { objectName: "target"; x: 10; y: 10 }
    Target { objectName: "hidden"; x: 80; y: 10; visible: false }
    Target { objectName: "disabled"; x: 150; y: 10; enabled: false }
    Target { objectName: "transparent"; x: 220; y: 10; opacity: 0 }
    Target { objectName: "zero"; x: 10; y: 50; width: 0 }
    Target { objectName: "edge"; x: 270; y: 50 }
    Target { objectName: "covered"; x: 10; y: 90 }
    Target { objectName: "cover"; x: 10; y: 90; width: 120 }

    Button {
        objectName: "button"
        x: 10; y: 130; width: 100; height: 40
        property int presses: 0
        onPressed: presses += 1
        contentItem: Text { objectName: "buttonLabel"; text: "press" }
    }

    Popup {
        objectName: "modalPopup"
        x: 150; y: 150; width: 100; height: 100
        modal: true
        Target { objectName: "inPopup"; x: 0; y: 0 }
    }

    Popup {
        objectName: "plainPopup"
        x: 150; y: 150; width: 100; height: 100
        closePolicy: Popup.NoAutoClose
    }

    Target { objectName: "underPopups"; x: 10; y: 200 }
    Target { objectName: "belowPlainPopup"; x: 160; y: 180 }

    Window {
        objectName: "hiddenWindow"
        width: 100; height: 100
        visible: false
        Target { objectName: "inHiddenWindow" }
    }
    Window {
        objectName: "otherWindow"
        width: 100; height: 100
        visible: true
        Target { objectName: "inOtherWindow" }
    }
}
