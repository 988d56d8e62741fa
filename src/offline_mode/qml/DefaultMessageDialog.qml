import QtQuick 2.15
import QtQuick.Layouts 1.15
import QtQuick.Templates 2.15 as T
import "."

// A text over the screen, closed by its button or Escape. Addresses are text and not links: nothing
// may open a browser on a logon desktop.
T.Popup {
    id: dialog

    property string title
    property string message
    property var details: [] // texts below the message, such as addresses; empty ones are left out
    property string closeText

    parent: T.Overlay.overlay
    x: 24
    y: Math.round((parent.height - height) / 2)
    width: parent.width - 48
    height: Math.min(content.implicitHeight + 2 * padding, parent.height - 48)
    padding: 24
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    onOpened: closeButton.forceActiveFocus()

    background: Rectangle {
        radius: 12
        color: DefinedColors.field
    }
    T.Overlay.modal: Rectangle {
        color: DefinedColors.shade
    }
    contentItem: DefinedColumnLayout {
        id: content

        Accessible.role: Accessible.Dialog
        Accessible.name: dialog.title

        InfoText {
            text: dialog.title
            color: DefinedColors.ink
            font: DefinedFonts.name
            maximumLineCount: 2
            Layout.fillWidth: true
        }
        ScrolledColumn {
            id: text

            Layout.fillWidth: true
            Layout.leftMargin: -inset
            Layout.rightMargin: -inset
            Layout.fillHeight: true

            InfoText {
                width: parent.width
                text: dialog.message
                color: DefinedColors.ink
            }
            Repeater {
                model: dialog.details.filter(text => text !== "")

                InfoText {
                    width: parent.width
                    text: modelData
                    wrapMode: Text.WrapAnywhere
                }
            }
        }
        TextButton {
            id: closeButton

            text: dialog.closeText
            Layout.alignment: Qt.AlignRight
            Layout.maximumWidth: content.width
            Keys.onUpPressed: text.scroll(-40)
            Keys.onDownPressed: text.scroll(40)
            onClicked: dialog.close()
        }
    }
}
