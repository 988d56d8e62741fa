import QtQuick 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15
import "."

Window {
    id: window

    // Pixels that the window's frame and title take from a small screen.
    readonly property int frameHeight: 40

    title: TotpTextProvider.windowTitle
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
           | Qt.WindowStaysOnTopHint | Qt.MSWindowsFixedSizeDialogHint
    color: DefinedColors.window
    width: Math.min(460, Screen.desktopAvailableWidth)
    height: Math.min(568 + (daysLeft.visible ? daysLeft.height + view.spacing : 0),
                     Screen.desktopAvailableHeight - frameHeight)
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height
    x: Screen.virtualX + (Screen.width - width) / 2
    y: Screen.virtualY + (Screen.height - height) / 2
    onClosing: TotpController.closeWindow()
    // Scroll to the focused item on a small screen.
    onActiveFocusItemChanged: {
        if (!activeFocusItem || !view.interactive)
            return
        const top = activeFocusItem.mapToItem(view.contentItem, 0, 0).y
        const bottom = top + activeFocusItem.height
        view.contentY = Math.max(0, Math.min(view.contentY, top - view.inset),
                                 bottom + view.inset - view.height)
    }

    ScrolledColumn {
        id: view

        anchors.fill: parent
        anchors.margins: 16
        anchors.leftMargin: 24
        anchors.rightMargin: 24
        spacing: 16

        RowLayout {
            width: parent.width
            spacing: 12

            Image {
                source: TotpMethodDataProvider.logoUrl
                fillMode: Image.PreserveAspectFit
                sourceSize.height: 44 * Screen.devicePixelRatio
                Layout.preferredHeight: 44
                Layout.preferredWidth: Math.min(120, 44 * implicitWidth / Math.max(1, implicitHeight))
                Accessible.role: Accessible.Graphic
                Accessible.name: TotpMethodDataProvider.companyName
            }
            ColumnLayout {
                spacing: 0

                InfoText {
                    text: TotpMethodDataProvider.applicationName
                    color: DefinedColors.ink
                    font: DefinedFonts.name
                    maximumLineCount: 2
                    Layout.fillWidth: true
                }
                InfoText {
                    text: TotpMethodDataProvider.companyName
                    font: DefinedFonts.small
                    maximumLineCount: 1
                    visible: text !== ""
                    Layout.fillWidth: true
                }
            }
            LanguageSelector {}
        }
        InfoText {
            width: parent.width
            text: TotpTextProvider.signInLabel
            color: DefinedColors.ink
            font: DefinedFonts.title
            Accessible.role: Accessible.Heading
        }
        InfoText {
            width: parent.width
            text: TotpTextProvider.noticeText
        }
        InfoText {
            id: daysLeft

            width: parent.width
            text: TotpTextProvider.daysLeftText
            color: DefinedColors.ink
            visible: text !== ""
        }
        CommonOtpMethod {
            id: method

            width: parent.width
            focus: true
        }
        MethodSelector {
            width: parent.width
            onClosed: method.focusField()
        }
        InfoText {
            width: parent.width
            text: TotpMethodDataProvider.protectedBy
            font: DefinedFonts.small
            horizontalAlignment: Text.AlignHCenter
            maximumLineCount: 1
        }
    }
    Component.onCompleted: method.focusField()
}
