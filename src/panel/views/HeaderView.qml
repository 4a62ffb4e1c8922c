import QtQuick
import QtQuick.Layouts

// The title row: the gauge, the name and the button that opens and closes the settings.
Item {
    id: header
    objectName: "headerView"

    property bool showSettings: false
    signal toggleSettings

    implicitHeight: row.implicitHeight + 24

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        anchors.topMargin: 12
        anchors.bottomMargin: 12
        spacing: 7

        Symbol {
            name: "gauge.with.dots.needle.33percent"
            size: 16
            color: appearance.accent
        }
        Text {
            objectName: "titleText"
            text: "Quillon"
            font.pixelSize: 13
            font.weight: Font.DemiBold
            color: appearance.primary
        }
        Item {
            Layout.fillWidth: true
        }
        IconButtonStyle {
            objectName: "settingsButton"
            contentItem: Item {
                implicitWidth: 24
                implicitHeight: 24
                Symbol {
                    objectName: "settingsSymbol"
                    anchors.centerIn: parent
                    name: header.showSettings ? "chevron.left" : "gearshape"
                    size: 13
                    color: appearance.secondary
                }
            }
            onClicked: header.toggleSettings()
        }
    }
}
