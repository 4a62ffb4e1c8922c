import QtQuick
import QtQuick.Layouts

// A titled box of settings: the title with its symbol above a softly filled rounded box.
ColumnLayout {
    id: group

    property string title
    property string symbol
    default property alias content: body.data

    Layout.fillWidth: true
    spacing: 6

    RowLayout {
        spacing: 5
        Layout.leftMargin: 2
        Symbol {
            objectName: "groupSymbol"
            name: group.symbol
            size: 12
            color: groupTitle.color
        }
        Text {
            id: groupTitle
            objectName: "groupTitle"
            text: group.title
            font.pixelSize: 12
            font.weight: Font.DemiBold
            color: appearance.primary
        }
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: body.implicitHeight + 20
        radius: 8
        color: appearance.controlBackground
        border.width: 1
        border.color: appearance.dark ? Qt.rgba(1, 1, 1, 0.07) : Qt.rgba(0, 0, 0, 0.07)

        ColumnLayout {
            id: body
            x: 10
            y: 10
            width: parent.width - 20
            spacing: 12
        }
    }
}
