import QtQuick

// Whether the last refresh brought figures from a provider.
Row {
    id: status

    property bool connected: false
    readonly property string text: connected ? "Connected" : "Not connected"

    spacing: 4

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        visible: status.connected
        name: "checkmark.circle.fill"
        size: 11
        color: appearance.green
    }
    Text {
        objectName: "statusText"
        anchors.verticalCenter: parent.verticalCenter
        text: status.text
        font.pixelSize: 11
        color: status.connected ? appearance.secondary : appearance.tertiary
    }
}
