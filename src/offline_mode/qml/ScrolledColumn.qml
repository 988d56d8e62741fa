import QtQuick 2.15
import "."

// A column that scrolls where there is less room than it needs.
Flickable {
    id: view

    default property alias items: column.data
    property alias spacing: column.spacing

    implicitHeight: column.implicitHeight
    contentHeight: column.implicitHeight
    interactive: contentHeight > height
    boundsBehavior: Flickable.StopAtBounds
    clip: true

    Column {
        id: column

        width: view.width - (view.interactive ? 10 : 0)
        spacing: 10
    }
    Rectangle {
        parent: view
        anchors.right: parent.right
        y: view.visibleArea.yPosition * view.height
        width: 4
        height: view.visibleArea.heightRatio * view.height
        radius: 2
        visible: view.interactive
        color: DefinedColors.line
    }
}
