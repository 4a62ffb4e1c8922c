import QtQuick
import QtQuick.Controls.Basic

// The refresh interval: 30 to 300 seconds in steps of 30, a small slider with tick marks.
Slider {
    id: control

    from: 30
    to: 300
    stepSize: 30
    snapMode: Slider.SnapAlways
    padding: 0
    implicitHeight: 18
    hoverEnabled: true

    readonly property color ink: appearance.dark ? "white" : "black"

    // The nearest step of the grid; a stored value between steps snaps on the first move.
    function snapped(seconds) {
        return Math.min(to, Math.max(from, from + Math.round((seconds - from) / stepSize) * stepSize));
    }

    background: Item {
        x: control.leftPadding
        y: control.topPadding + control.availableHeight / 2 - height / 2
        width: control.availableWidth
        height: 4

        Rectangle {
            anchors.fill: parent
            radius: 2
            color: Qt.rgba(control.ink.r, control.ink.g, control.ink.b, 0.12)
        }
        Rectangle {
            width: control.visualPosition * parent.width
            height: parent.height
            radius: 2
            color: appearance.accent
        }
    }

    handle: Rectangle {
        x: control.leftPadding + control.visualPosition * (control.availableWidth - width)
        y: control.topPadding + control.availableHeight / 2 - height / 2
        width: 14
        height: 14
        radius: 7
        color: control.pressed ? "#f0f0f0" : "white"
        border.width: 1
        border.color: Qt.rgba(0, 0, 0, 0.2)
    }
}
