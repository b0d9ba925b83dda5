import QtQuick 2.15
import QtQuick.Window 2.15

// Signal sources for the signal wait tests. Nothing runs until a test starts a timer or calls
// a function.
Window {
    objectName: "signalWindow"
    width: 200
    height: 100
    visible: true

    Item {
        id: emitter
        objectName: "emitter"

        signal clicked()
        signal valueChanged(int value)
        signal pinged(int n)

        property int pings: 0
        property var journal: []

        onPinged: pings += 1

        // Writes a line into the journal; the TCP tests use it to see the order of controls.
        function note(text) {
            journal.push(text)
            return journal.length
        }
        function journalText() {
            return journal.join(",")
        }
        function fire() {
            note("signal")
            clicked()
        }
    }

    Timer {
        objectName: "pulse"
        interval: 30
    }

    Timer {
        objectName: "slowPulse"
        interval: 2000
    }

    Timer {
        objectName: "valueTimer"
        interval: 30
        onTriggered: emitter.valueChanged(7)
    }

    Timer {
        objectName: "twiceTimer"
        interval: 30
        onTriggered: {
            emitter.pinged(1)
            emitter.pinged(2)
        }
    }

    Timer {
        objectName: "firstPing"
        interval: 30
        onTriggered: emitter.pinged(1)
    }

    Timer {
        objectName: "secondPing"
        interval: 3000
        onTriggered: emitter.pinged(2)
    }
}
