import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import "."

// A button that is either filled, for the one thing to do, or flat like a link.
T.Button {
    id: button

    flat: false
    implicitWidth: label.implicitWidth + leftPadding + rightPadding
    implicitHeight: flat ? 28 : 40
    leftPadding: flat ? 8 : 24
    rightPadding: leftPadding
    focusPolicy: Qt.StrongFocus
    font: flat ? DefinedFonts.body : DefinedFonts.label
    Accessible.name: text
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Text {
        id: label

        text: button.text
        textFormat: Text.PlainText
        font: button.font
        color: button.flat ? DefinedColors.accent : DefinedColors.field
        horizontalAlignment: button.flat ? Text.AlignLeft : Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: FocusFrame {
        focused: button.visualFocus
        border.width: focused ? 1 : 0
        border.color: button.flat ? DefinedColors.accent : DefinedColors.accentDeep
        color: button.flat ? (button.hovered ? DefinedColors.panel : DefinedColors.window)
                           : (button.down || button.hovered ? DefinedColors.accentDeep : DefinedColors.accent)
    }
}
