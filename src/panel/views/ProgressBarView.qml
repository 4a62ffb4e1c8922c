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

    // The fill as drawn. A change of the percent eases it to the new length and colour; the
    // value a bar is created with is drawn at once, and a new width (the card laid out again)
    // scales the fill without easing, so nothing replays when a card is built or resized.
    property real shownFraction: fraction
    property color shownColor: fillColor
    readonly property bool easing: lengthEase.running || colourEase.running
    // Ease in and out, the standard curve of that name.
    readonly property var easeInOut: [0.42, 0, 0.58, 1, 1, 1]

    Behavior on shownFraction {
        NumberAnimation {
            id: lengthEase
            duration: 300
            easing.type: Easing.BezierSpline
            easing.bezierCurve: bar.easeInOut
        }
    }
    Behavior on shownColor {
        ColorAnimation {
            id: colourEase
            duration: 300
            easing.type: Easing.BezierSpline
            easing.bezierCurve: bar.easeInOut
        }
    }

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
        width: parent.width * bar.shownFraction
        radius: 2.5
        color: bar.shownColor
    }
}
