// A page that tests/tst_faults_two.cpp pushes onto a StackView with initial properties.
import QtQuick 2.15

Rectangle {
    objectName: "pushedPage"
    width: 50
    height: 50
}
