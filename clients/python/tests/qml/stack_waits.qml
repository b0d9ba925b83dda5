import QtQuick 2.15
import QtQuick.Controls 2.15

// A StackView with short animated transitions (animators, as the Controls styles use), pushed
// and popped by buttons; a busy indicator that never stops; a list far longer than its view; a
// tool tip and a combo box in a modal dialog.
ApplicationWindow {
    id: window
    objectName: "stackWindow"
    width: 400
    height: 300
    visible: true

    StackView {
        id: stackView
        objectName: "stackView"
        anchors.fill: parent
        initialItem: page
        pushEnter: Transition { XAnimator { from: 400; to: 0; duration: 60 } }
        pushExit: Transition { XAnimator { from: 0; to: -400; duration: 60 } }
        popEnter: Transition { XAnimator { from: -400; to: 0; duration: 60 } }
        popExit: Transition { XAnimator { from: 0; to: 400; duration: 60 } }
        Component {
            id: page
            Pane {
                Column {
                    Button { text: "Push"; onClicked: stackView.push(page) }
                    Button { text: "Pop"; onClicked: stackView.pop() }
                }
            }
        }
    }

    BusyIndicator { objectName: "spinner"; x: 300; y: 200; running: true }

    // A closed dialog's combo box comes first in search order; the shown one after it.
    Dialog { id: settings; objectName: "settings"; modal: true
             ComboBox { objectName: "hiddenCombo"; model: ["a", "b"] } }
    ComboBox { objectName: "shownCombo"; x: 200; y: 0; model: ["x", "y"] }
    Button { objectName: "tipButton"; x: 200; y: 60; text: "Tip"; ToolTip.text: "hello"; ToolTip.delay: 0
             onClicked: ToolTip.visible = true }

    property int level: 0
    Timer { objectName: "levelTimer"; interval: 30; onTriggered: window.level = 1 }
}
