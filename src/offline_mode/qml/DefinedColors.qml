pragma Singleton
import QtQuick 2.15

QtObject {
    readonly property color window: "#fbfcfe"
    readonly property color panel: "#edf1f7"
    readonly property color field: "#ffffff"
    readonly property color ink: "#15202e"
    readonly property color soft: "#526071"
    readonly property color line: "#77869a"
    readonly property color accent: "#1b5cc0"
    readonly property color accentDeep: "#164b9e"
    readonly property color glow: "#8fb4ec"
    readonly property color error: "#b0231b"
    readonly property color good: "#14704a"
    readonly property color shade: "#8015202e"
}
