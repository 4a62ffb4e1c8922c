import QtQuick
import QtQuick.Shapes

// The card shown when no usage has been saved yet.
Column {
    id: card

    readonly property color primaryColor: palette.windowText

    spacing: 12
    padding: 16

    SystemPalette { id: palette; colorGroup: SystemPalette.Active }

    // The warning triangle, drawn here rather than loaded so that it can take the orange tint.
    Item {
        objectName: "warningSymbol"
        anchors.horizontalCenter: parent.horizontalCenter
        width: 40
        height: 40

        Shape {
            width: 24
            height: 24
            scale: parent.width / 24
            transformOrigin: Item.TopLeft
            antialiasing: true
            ShapePath {
                strokeColor: "#ff9500"
                strokeWidth: 1.7
                fillColor: "transparent"
                joinStyle: ShapePath.RoundJoin
                PathSvg {
                    path: "M10.3 3.6 C11.1 2.2 12.9 2.2 13.7 3.6 L21.9 18.2 C22.7 19.6 21.7 21.2 20.1 21.2 L3.9 21.2 C2.3 21.2 1.3 19.6 2.1 18.2 Z"
                }
            }
            ShapePath {
                strokeColor: "#ff9500"
                strokeWidth: 2
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                PathSvg { path: "M12 8.4 L12 13.8" }
            }
            ShapePath {
                strokeColor: "transparent"
                fillColor: "#ff9500"
                PathAngleArc { centerX: 12; centerY: 17.3; radiusX: 1.25; radiusY: 1.25; sweepAngle: 360 }
            }
        }
    }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        text: "No Data Available"
        color: card.primaryColor
        font.pixelSize: 17
        font.weight: Font.DemiBold
    }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(implicitWidth, 280)
        text: "Please open Quillon to sync your usage data"
        color: Qt.rgba(card.primaryColor.r, card.primaryColor.g, card.primaryColor.b, 0.6)
        font.pixelSize: 12
        wrapMode: Text.WordWrap
        horizontalAlignment: Text.AlignHCenter
    }
}
