import QtQuick
import QtQuick.Layouts

// A small label above its value.
ColumnLayout {
    id: stat
    property string label
    property string value

    spacing: 2

    Text {
        objectName: "statLabel"
        text: stat.label
        font.pixelSize: 10
        color: appearance.secondary
    }
    Text {
        objectName: "statValue"
        text: stat.value
        font.pixelSize: 12
        color: appearance.primary
    }
}
