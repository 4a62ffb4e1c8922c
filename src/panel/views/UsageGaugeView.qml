import QtQuick
import QtQuick.Shapes

// One provider's ring on the usage card: its name, the used share of the five-hour window as a
// ring that starts at the top and runs clockwise, and when the window resets.
Column {
    id: gauge

    property string name
    property real percent: 0
    // A text, or undefined when the snapshot carries no reset time.
    property var resetTime

    readonly property color arcColor: percent >= 90 || percent < 0 ? appearance.red
                                    : percent >= 75 ? appearance.orange
                                    : percent >= 50 ? appearance.yellow
                                    : appearance.green
    // Past 100 the ring is simply full; below 0 it is empty.
    readonly property real sweep: 360 * Math.min(Math.max(percent / 100, 0), 1)

    spacing: 8

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        text: gauge.name
        color: appearance.primary
        font.pixelSize: 17
        font.weight: Font.DemiBold
    }

    Item {
        id: ring
        objectName: "ring"
        anchors.horizontalCenter: parent.horizontalCenter
        width: 100
        height: 100

        Shape {
            anchors.fill: parent
            antialiasing: true
            ShapePath {
                readonly property color ink: appearance.dark ? "white" : "black"
                strokeColor: Qt.rgba(ink.r, ink.g, ink.b, 0.2)
                strokeWidth: 8
                fillColor: "transparent"
                PathAngleArc {
                    centerX: 50; centerY: 50; radiusX: 50; radiusY: 50
                    startAngle: 0; sweepAngle: 360
                }
            }
        }

        Shape {
            anchors.fill: parent
            antialiasing: true
            visible: gauge.sweep > 0
            ShapePath {
                strokeColor: gauge.arcColor
                strokeWidth: 8
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                PathAngleArc {
                    centerX: 50; centerY: 50; radiusX: 50; radiusY: 50
                    startAngle: -90; sweepAngle: gauge.sweep
                }
            }
        }

        Column {
            anchors.centerIn: parent
            Text {
                objectName: "percentText"
                anchors.horizontalCenter: parent.horizontalCenter
                text: Number(gauge.percent).toFixed(0)
                color: appearance.primary
                font.pixelSize: 32
                font.bold: true
            }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "%"
                color: appearance.secondary
                font.pixelSize: 12
            }
        }
    }

    Text {
        objectName: "resetText"
        anchors.horizontalCenter: parent.horizontalCenter
        visible: gauge.resetTime !== undefined && gauge.resetTime !== null
        text: "Resets " + (visible ? gauge.resetTime : "")
        color: appearance.tertiary
        font.pixelSize: 11
    }
}
