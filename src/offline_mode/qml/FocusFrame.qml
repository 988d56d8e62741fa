import QtQuick 2.15
import "."

// A frame that glows while its content has the keyboard focus.
Rectangle {
    property bool focused: false

    radius: 8
    border.width: 1
    border.color: focused ? DefinedColors.accent : DefinedColors.line
    color: DefinedColors.field

    Rectangle {
        anchors.fill: parent
        anchors.margins: -4
        z: -1
        visible: parent.focused
        radius: parent.radius + 4
        color: DefinedColors.glow
    }
}
