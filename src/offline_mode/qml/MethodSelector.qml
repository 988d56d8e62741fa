import QtQuick 2.15
import QtQuick.Layouts 1.15
import "."

// The ways on for somebody who has no code: each opens a text.
ColumnLayout {
    id: selector

    signal closed()

    spacing: 0

    TextButton {
        flat: true
        text: TotpTextProvider.recoveryCodeText
        Layout.leftMargin: -leftPadding
        Layout.maximumWidth: selector.width
        onClicked: recovery.open()
    }
    TextButton {
        flat: true
        text: TotpMethodDataProvider.helpPrompt
        visible: text !== ""
        Layout.leftMargin: -leftPadding
        Layout.maximumWidth: selector.width
        onClicked: help.open()
    }
    TextButton {
        flat: true
        text: TotpTextProvider.infoWindowTitle
        Layout.leftMargin: -leftPadding
        Layout.maximumWidth: selector.width
        onClicked: info.open()
    }

    DefaultMessageDialog {
        id: recovery

        title: TotpTextProvider.recoveryCodeText
        message: TotpTextProvider.recoveryCodeHint
        closeText: TotpTextProvider.dialogButtonText
        onClosed: selector.closed()
    }
    DefaultMessageDialog {
        id: help

        title: TotpMethodDataProvider.helpPrompt
        message: TotpMethodDataProvider.helpMessage
        details: [TotpMethodDataProvider.helpLink1, TotpMethodDataProvider.helpLink2]
        closeText: TotpTextProvider.infoCloseButtonText
        onClosed: selector.closed()
    }
    DefaultMessageDialog {
        id: info

        title: TotpTextProvider.infoWindowTitle
        message: TotpTextProvider.infoMessage
        closeText: TotpTextProvider.infoCloseButtonText
        onClosed: selector.closed()
    }
}
