import QtQuick 2.15
import QtQuick.Layouts 1.15

ColumnLayout {
    spacing: 12
}
