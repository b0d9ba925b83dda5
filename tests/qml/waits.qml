import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15

// Signal sources, changing properties, animations and objects that go away, for the spies and
// the waits. Nothing runs until a test starts it.
Window {
    id: root
    objectName: "waitWindow"
    width: 300
    height: 300
    visible: true

    Item {
        id: emitter
        objectName: "emitter"
        signal pinged(int n, string text)
        signal bare()
        function ping(n, text) { pinged(n, text) }
    }

    Button { objectName: "button"; x: 10; y: 10; width: 80; height: 30 }

    Rectangle {
        id: box
        objectName: "box"
        x: 0; y: 100; width: 20; height: 20
        property int level: 0
        property string label: "start"
    }
    Timer { objectName: "levelTimer"; interval: 200; onTriggered: { box.level = 7; box.label = "done" } }
    Timer { objectName: "pingTimer"; interval: 100; repeat: true; property int n: 0
            onTriggered: { n += 1; emitter.pinged(n, "t" + n) } }

    NumberAnimation { objectName: "slide"; target: box; property: "x"; from: 0; to: 100; duration: 300 }
    NumberAnimation { objectName: "endless"; target: box; property: "rotation"; from: 0; to: 360; duration: 500
                      loops: Animation.Infinite }

    // Made at start-up so that it can be destroyed on request.
    property QtObject doomed
    Component { id: doomedComponent; Item { property int level: 0; signal pinged() } }
    Component.onCompleted: doomed = doomedComponent.createObject(box, {objectName: "doomed"})
    Timer { objectName: "doomTimer"; interval: 200; onTriggered: root.doomed.destroy() }

    Window {
        objectName: "hiddenWindow"
        width: 100; height: 100
        visible: false
    }
}
