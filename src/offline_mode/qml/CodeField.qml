import QtQuick 2.15
import "."

// Six boxes over one text field. Keys that are not named here are ignored.
FocusScope {
    id: field

    property alias text: input.text
    property string label
    property bool failed: false

    signal submitted()
    signal edited()

    function shake() { motion.restart() }

    function type(digit) {
        if (input.length < boxes.count)
            input.text += digit
        edited()
        if (input.length === boxes.count)
            submitted()
    }

    function handleKey(event) {
        event.accepted = true
        if (event.key === Qt.Key_Tab || event.key === Qt.Key_Backtab)
            event.accepted = false
        else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            submitted()
        else if (event.key === Qt.Key_Backspace)
            input.text = input.text.slice(0, -1)
        else if (event.matches(StandardKey.Paste))
            input.paste()
        else if (/^[0-9]$/.test(event.text) && input.length < boxes.count)
            type(event.text)
    }

    implicitHeight: 60

    TextInput {
        id: input

        anchors.fill: parent
        focus: true
        activeFocusOnTab: true
        // The boxes show the text.
        opacity: 0
        cursorDelegate: Item {}
        inputMethodHints: Qt.ImhDigitsOnly
        Accessible.role: Accessible.EditableText
        Accessible.name: field.label
        Keys.onPressed: field.handleKey(event)
        // Also for text that was pasted or came from an on-screen keyboard.
        onTextChanged: {
            const digits = CustomTools.codeDigits(text)
            if (digits !== text)
                text = digits
        }
        onTextEdited: field.edited()
    }

    Row {
        id: row

        spacing: 12
        transform: Translate { id: offset }

        Repeater {
            id: boxes

            model: 6

            FocusFrame {
                width: 56
                height: field.height
                radius: 10
                focused: input.activeFocus && index === Math.min(input.length, boxes.count - 1)
                border.color: field.failed ? DefinedColors.error
                                           : focused ? DefinedColors.accent : DefinedColors.line

                Text {
                    anchors.centerIn: parent
                    text: input.text.charAt(index)
                    textFormat: Text.PlainText
                    font: DefinedFonts.digit
                    color: DefinedColors.ink
                }
                Rectangle {
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: 12
                    width: 20
                    height: 2
                    radius: 1
                    visible: parent.focused && index === input.length
                    color: DefinedColors.accent
                }
            }
        }
    }

    SequentialAnimation {
        id: motion

        loops: 2
        NumberAnimation { target: offset; property: "x"; to: 5; duration: 30 }
        NumberAnimation { target: offset; property: "x"; to: -5; duration: 60 }
        NumberAnimation { target: offset; property: "x"; to: 0; duration: 35 }
    }
}
