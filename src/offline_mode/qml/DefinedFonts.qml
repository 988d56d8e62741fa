pragma Singleton
import QtQuick 2.15

// Segoe UI is the font of the logon desktop. Other systems replace it by a font of their own.
QtObject {
    readonly property font title: Qt.font({ family: "Segoe UI", pixelSize: 24, weight: Font.DemiBold })
    readonly property font name: Qt.font({ family: "Segoe UI", pixelSize: 16, weight: Font.DemiBold })
    readonly property font label: Qt.font({ family: "Segoe UI", pixelSize: 14, weight: Font.DemiBold })
    readonly property font body: Qt.font({ family: "Segoe UI", pixelSize: 14 })
    readonly property font small: Qt.font({ family: "Segoe UI", pixelSize: 12 })
    readonly property font digit: Qt.font({ family: "Segoe UI", pixelSize: 30, weight: Font.DemiBold })
}
