import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import "."

T.ComboBox {
    id: selector

    // `language` is unused, but makes QML read the name again when the language changes.
    function nameOf(message, language) { return InternationalizationController.translate(message) }

    model: ComboBoxLanguageDataModel
    textRole: "name"
    currentIndex: InternationalizationController.selectedLanguage
    displayText: nameOf(currentText, InternationalizationController.selectedLanguage)
    implicitWidth: 132
    implicitHeight: 36
    leftPadding: 12
    rightPadding: 30
    focusPolicy: Qt.StrongFocus
    font: DefinedFonts.body
    Accessible.name: TotpTextProvider.languageLabel + ": " + displayText
    onActivated: InternationalizationController.selectedLanguage = index

    contentItem: Text {
        text: selector.displayText
        textFormat: Text.PlainText
        font: selector.font
        color: DefinedColors.ink
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    indicator: Text {
        x: selector.width - width - 12
        y: (selector.height - height) / 2
        text: "\u25be"
        font: selector.font
        color: DefinedColors.soft
    }
    background: FocusFrame {
        focused: selector.activeFocus
    }
    delegate: T.ItemDelegate {
        id: entry

        width: selector.width - 2
        height: 36
        leftPadding: 12
        highlighted: selector.highlightedIndex === index
        text: selector.nameOf(model.name, InternationalizationController.selectedLanguage)
        Accessible.name: text

        contentItem: Text {
            text: entry.text
            textFormat: Text.PlainText
            font: DefinedFonts.body
            color: DefinedColors.ink
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 7
            color: entry.highlighted ? DefinedColors.panel : DefinedColors.field
        }
    }
    popup: T.Popup {
        y: selector.height + 4
        width: selector.width
        height: list.contentHeight + 2
        padding: 1

        contentItem: ListView {
            id: list

            clip: true
            interactive: false
            model: selector.delegateModel
            currentIndex: selector.highlightedIndex
        }
        background: FocusFrame {}
    }
}
