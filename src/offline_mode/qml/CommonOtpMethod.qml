import QtQuick 2.15
import QtQuick.Layouts 1.15
import "."

// The code field, the message about the code, and the button.
DefinedColumnLayout {
    id: method

    // The outcome of the last code: "", "invalid", "wrong" or "accepted".
    property string outcome
    property string invalidCode
    readonly property bool waiting: TotpController.secondsToWait > 0

    // The arguments are what the text depends on besides the code.
    function validationText(language, secondsToWait) {
        return TotpController.getValidateResult(invalidCode).wholeValidateMessage
    }

    function message() {
        if (outcome === "accepted")
            return TotpTextProvider.positiveResult
        if (outcome === "invalid" || waiting)
            return validationText(InternationalizationController.selectedLanguage,
                                  TotpController.secondsToWait)
        return outcome === "wrong" ? TotpTextProvider.negativeResult : ""
    }

    function submit() {
        if (outcome === "accepted")
            return
        if (!TotpController.getValidateResult(field.text).status) {
            invalidCode = field.text
            outcome = "invalid"
            // The code would be too old at the end of the wait.
            if (waiting)
                field.text = ""
            field.shake()
            return
        }
        if (TotpController.checkCode(field.text)) {
            outcome = "accepted"
            TotpController.closeWindow()
            return
        }
        outcome = "wrong"
        field.text = ""
        field.shake()
        field.forceActiveFocus()
    }

    function focusField() { field.forceActiveFocus() }

    spacing: 8
    onWaitingChanged: if (!waiting) outcome = ""

    InfoText {
        text: TotpTextProvider.enterCodeLabel
        color: DefinedColors.ink
        font: DefinedFonts.label
        Layout.fillWidth: true
    }
    CodeField {
        id: field

        label: TotpTextProvider.enterCodeLabel
        failed: method.outcome === "wrong" || method.outcome === "invalid"
        focus: true
        Layout.fillWidth: true
        onSubmitted: method.submit()
        onEdited: if (method.outcome !== "accepted") method.outcome = ""
    }
    // Always two lines high, so that a message does not move what is below it.
    InfoText {
        text: method.message() + (method.waiting ? "\n" + TotpTextProvider.waitText.arg(TotpController.secondsToWait) : "")
        color: method.outcome === "accepted" ? DefinedColors.good : DefinedColors.error
        maximumLineCount: 2
        Accessible.role: Accessible.AlertMessage
        Layout.fillWidth: true
        Layout.preferredHeight: 44
    }
    TextButton {
        text: TotpTextProvider.signInButtonText
        Layout.fillWidth: true
        onClicked: method.submit()
    }
}
