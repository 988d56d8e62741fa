import QtQuick 2.15
import QtQuick.Layouts 1.15
import "."

// Text for reading. Much of it comes from outside, so it is shown as plain text, and it wraps
// anywhere instead of being cut.
//
// Here and in the other files sizes are multiples of 4, so that frames fall on whole pixels at 125,
// 150 and 175 % too.
Text {
    readonly property int wholeHeight: Math.ceil(implicitHeight / 4) * 4

    height: wholeHeight
    Layout.preferredHeight: wholeHeight
    color: DefinedColors.soft
    font: DefinedFonts.body
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    elide: maximumLineCount < 1000 ? Text.ElideRight : Text.ElideNone
    lineHeight: 1.15
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
