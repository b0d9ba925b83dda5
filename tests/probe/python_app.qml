// The scene of the Python programs the probe tests drive (pyqt5_app.py, pyside2_app.py,
// pyqt6_app.py); every object is known only by its id.
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    id: window
    width: 200
    height: 100
    visible: true
    property int taps: 0
    // Whether the scene graph renders in software, the headless choice.
    property bool softwareScene: tapArea.GraphicsInfo.api === GraphicsInfo.Software

    Rectangle {
        id: tapArea
        anchors.fill: parent
        color: "steelblue"
        MouseArea { anchors.fill: parent; onClicked: window.taps++ }
    }
}
