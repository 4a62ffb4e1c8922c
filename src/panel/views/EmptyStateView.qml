import QtQuick
import QtQuick.Layouts

// Shown in place of the cards while no provider has delivered figures.
Rectangle {
    objectName: "emptyStateView"

    // As wide as its content and 40 on every side of it, centred in the column of cards.
    Layout.alignment: Qt.AlignHCenter
    implicitWidth: column.implicitWidth + 80
    implicitHeight: column.implicitHeight + 80
    radius: 12
    color: appearance.controlBackground
    // Filled like a card, but without a card's outline.
    border.width: 0

    ColumnLayout {
        id: column
        objectName: "emptyStateContent"
        anchors.centerIn: parent
        spacing: 12

        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: "exclamationmark.triangle"
            size: 32
            color: appearance.secondary
        }
        Text {
            objectName: "emptyTitle"
            Layout.alignment: Qt.AlignHCenter
            text: "No Providers Connected"
            font.pixelSize: 13
            font.weight: Font.DemiBold
            color: appearance.primary
        }
        Text {
            objectName: "emptyHint"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            text: "Check Settings to configure your accounts"
            font.pixelSize: 11
            color: appearance.secondary
        }
    }
}
