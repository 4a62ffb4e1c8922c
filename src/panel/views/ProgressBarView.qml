import QtQuick
import QtQuick.Layouts

// A thin bar: the share of a window in use, coloured green, yellow, orange or red as it fills.
Item {
    id: bar
    objectName: "progressBar"

    property int percent: 0
    readonly property real fraction: Math.min(Math.max(percent / 100, 0), 1)
    readonly property color fillColor: percent > 89 ? appearance.red
                                     : percent >= 75 ? appearance.orange
                                     : percent >= 50 ? appearance.yellow
                                     : appearance.green

    Layout.fillWidth: true
    implicitHeight: 5

    Rectangle {
        objectName: "progressTrack"
        anchors.fill: parent
        radius: 2.5
        color: Qt.rgba(appearance.primary.r, appearance.primary.g, appearance.primary.b, 0.15)
    }
    Rectangle {
        objectName: "progressFill"
        height: parent.height
        width: parent.width * bar.fraction
        radius: 2.5
        color: bar.fillColor
        Behavior on width {
            NumberAnimation {
                duration: 300
                easing.type: Easing.InOutQuad
            }
        }
    }
}
