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

    readonly property color primaryColor: palette.windowText
    readonly property color arcColor: percent >= 90 || percent < 0 ? "#ff3b30"
                                    : percent >= 75 ? "#ff9500"
                                    : percent >= 50 ? "#ffcc00" : "#34c759"
    // Past 100 the ring is simply full; below 0 it is empty.
    readonly property real sweep: 360 * Math.min(Math.max(percent / 100, 0), 1)

    spacing: 8

    SystemPalette { id: palette; colorGroup: SystemPalette.Active }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        text: gauge.name
        color: gauge.primaryColor
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
                strokeColor: Qt.rgba(gauge.primaryColor.r, gauge.primaryColor.g,
                                     gauge.primaryColor.b, 0.2)
                strokeWidth: 8
                fillColor: "transparent"
                PathAngleArc {
                    centerX: 50; centerY: 50; radiusX: 46; radiusY: 46
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
                    centerX: 50; centerY: 50; radiusX: 46; radiusY: 46
                    startAngle: -90; sweepAngle: gauge.sweep
                }
            }
        }

        Column {
            anchors.centerIn: parent
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: Number(gauge.percent).toFixed(0)
                color: gauge.primaryColor
                font.pixelSize: 32
                font.bold: true
            }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "%"
                color: Qt.rgba(gauge.primaryColor.r, gauge.primaryColor.g, gauge.primaryColor.b,
                               0.6)
                font.pixelSize: 12
            }
        }
    }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: gauge.resetTime !== undefined && gauge.resetTime !== null
        text: "Resets " + (visible ? gauge.resetTime : "")
        color: Qt.rgba(gauge.primaryColor.r, gauge.primaryColor.g, gauge.primaryColor.b, 0.3)
        font.pixelSize: 11
    }
}
