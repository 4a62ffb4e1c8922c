import QtQuick
import QtQuick.Layouts

// A labelled row of the settings: the label on the left, its content on the right.
RowLayout {
    property string label
    default property alias content: holder.data

    Layout.fillWidth: true
    spacing: 8

    Text {
        text: parent.label
        font.pixelSize: 12
        color: appearance.primary
    }
    Item {
        Layout.fillWidth: true
    }
    Row {
        id: holder
        spacing: 4
    }
}
