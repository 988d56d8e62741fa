import QtQuick 2.15
import "."

// A column that scrolls when there is not enough room. Its margin is for the glow of the focused
// item.
Flickable {
    id: view

    readonly property int inset: 8

    default property alias items: column.data
    property alias spacing: column.spacing

    function scroll(distance) {
        contentY = Math.max(0, Math.min(contentY + distance, contentHeight - height))
    }

    implicitHeight: contentHeight
    contentHeight: column.implicitHeight + 2 * inset
    interactive: contentHeight > height
    boundsBehavior: Flickable.StopAtBounds
    clip: true

    Column {
        id: column

        x: view.inset
        y: view.inset
        width: view.width - 2 * view.inset
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
