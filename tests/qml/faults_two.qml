// Scene of tests/tst_faults_two.cpp: scripted methods (Loader.setSource, Component.createObject,
// StackView.push), a button to spy on and destroy, items scaled or placed beyond any screen.
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15

Window {
    id: window
    objectName: "faultsTwoWindow"
    width: 400
    height: 300
    visible: true

    property int ticks: 0
    function tick(times) {
        for (var i = 0; i < times; ++i)
            ticks++
    }

    Loader { id: loader; objectName: "loader" }
    Item {
        id: holder
        objectName: "holder"
        Component { id: made; Rectangle { width: 10; height: 10 } }
    }
    Button { id: button; objectName: "button"; text: "b"; x: 10; y: 200 }
    StackView {
        id: stackView
        objectName: "stackView"
        x: 200; y: 0; width: 200; height: 100
        initialItem: Item {}
    }
    TextField { id: field; objectName: "field"; x: 10; y: 120; width: 200 }
    Rectangle { objectName: "huge"; x: 100; y: 100; width: 10; height: 10; scale: 1e30 }
    Rectangle { objectName: "farAway"; x: -1e300; y: 0; width: 10; height: 10 }
}
