import QtQuick

// The card shown when no usage has been saved yet.
Column {
    id: card

    spacing: 12
    padding: 16

    Symbol {
        objectName: "warningSymbol"
        anchors.horizontalCenter: parent.horizontalCenter
        name: "exclamationmark.triangle"
        color: appearance.orange
        size: 40
    }

    Text {
        objectName: "noDataTitle"
        anchors.horizontalCenter: parent.horizontalCenter
        text: "No Data Available"
        color: appearance.primary
        font.pixelSize: 17
        font.weight: Font.DemiBold
    }

    Text {
        objectName: "noDataHint"
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(implicitWidth, 280)
        text: "Please open Quillon to sync your usage data"
        color: appearance.secondary
        font.pixelSize: 12
        wrapMode: Text.WordWrap
        horizontalAlignment: Text.AlignHCenter
    }
}
