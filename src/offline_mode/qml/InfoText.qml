import QtQuick 2.15
import "."

// Text for reading. Much of it comes from outside: it is never taken for markup, and wraps anywhere
// rather than being cut.
Text {
    color: DefinedColors.soft
    font: DefinedFonts.body
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    elide: maximumLineCount < 1000 ? Text.ElideRight : Text.ElideNone
    lineHeight: 1.15
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
