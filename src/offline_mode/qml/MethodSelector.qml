import QtQuick 2.15
import QtQuick.Layouts 1.15
import "."

// Help for users who have no code: each button opens a text.
ColumnLayout {
    id: selector

    signal closed()

    function show(title, message, links, closeText) {
        dialog.active = true
        dialog.item.title = title
        dialog.item.message = message
        dialog.item.details = links
        dialog.item.closeText = closeText
        dialog.item.open()
    }

    spacing: 0

    TextButton {
        flat: true
        text: TotpTextProvider.recoveryCodeText
        Layout.leftMargin: -leftPadding
        Layout.maximumWidth: selector.width
        onClicked: selector.show(text, TotpTextProvider.recoveryCodeHint, [],
                                 TotpTextProvider.dialogButtonText)
    }
    TextButton {
        flat: true
        text: TotpMethodDataProvider.helpPrompt
        visible: text !== ""
        Layout.leftMargin: -leftPadding
        Layout.maximumWidth: selector.width
        onClicked: selector.show(text, TotpMethodDataProvider.helpMessage,
                                 [TotpMethodDataProvider.helpLink1, TotpMethodDataProvider.helpLink2],
                                 TotpTextProvider.infoCloseButtonText)
    }
    TextButton {
        flat: true
        text: TotpTextProvider.infoWindowTitle
        Layout.leftMargin: -leftPadding
        Layout.maximumWidth: selector.width
        onClicked: selector.show(text, TotpTextProvider.infoMessage, [],
                                 TotpTextProvider.infoCloseButtonText)
    }

    // Created when it is first needed, so that the screen appears sooner.
    Loader {
        id: dialog

        active: false
        visible: false
        sourceComponent: DefaultMessageDialog {
            onClosed: selector.closed()
        }
    }
}
