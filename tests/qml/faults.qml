// Items and windows that destroy themselves while an action's events reach them, values nested
// deeper than any reply should be, large replies, and properties that take URLs.
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    id: root
    objectName: "faultWindow"
    width: 400
    height: 300
    visible: true

    property var held: null        // a script value written by "setpro" or by fill()
    property url address: ""       // a url-typed property
    property string label: "plain" // a property of another type
    property int created: 0

    Item {
        id: stage
        objectName: "stage"
        anchors.fill: parent
    }

    // A rectangle whose mouse area destroys it on the event named by "destroyOn": "press",
    // "release", "enter", "move" (while pressed) or "wheel".
    Component {
        id: victimComponent
        Rectangle {
            id: victim
            objectName: "victim"
            property string destroyOn: "press"
            x: 50
            y: 50
            width: 120
            height: 80
            color: "tomato"
            MouseArea {
                anchors.fill: parent
                hoverEnabled: true
                onPressed: if (victim.destroyOn === "press") victim.destroy()
                onReleased: if (victim.destroyOn === "release") victim.destroy()
                onEntered: if (victim.destroyOn === "enter") victim.destroy()
                onPositionChanged: if (victim.destroyOn === "move" && pressed) victim.destroy()
                onWheel: if (victim.destroyOn === "wheel") victim.destroy()
            }
        }
    }

    // A window of its own that destroys itself on a press ("press") or a key ("key").
    Component {
        id: doomedComponent
        Window {
            id: doomed
            objectName: "doomedWindow"
            property string destroyOn: "press"
            width: 200
            height: 150
            visible: true
            Rectangle {
                objectName: "doomedItem"
                anchors.fill: parent
                color: "steelblue"
                focus: true
                Keys.onPressed: if (doomed.destroyOn === "key") doomed.destroy()
                MouseArea {
                    anchors.fill: parent
                    onPressed: if (doomed.destroyOn === "press") doomed.destroy()
                }
            }
        }
    }

    function spawn(destroyOn) {
        created += 1
        return victimComponent.createObject(stage, {"destroyOn": destroyOn}) !== null
    }
    function spawnWindow(destroyOn) {
        created += 1
        return doomedComponent.createObject(root, {"destroyOn": destroyOn}) !== null
    }

    // An array nested n levels deep: [[[...]]] with 0 innermost.
    function deepArray(n) {
        var value = 0
        for (var i = 0; i < n; ++i)
            value = [value]
        return value
    }
    // An object nested n levels deep: {"a": {"a": ...}}.
    function deepObject(n) {
        var value = 0
        for (var i = 0; i < n; ++i)
            value = {"a": value}
        return value
    }
    function fill(n) {
        held = deepArray(n)
        return true
    }
    // A string of n characters.
    function blob(n) {
        return "x".repeat(n)
    }
}
