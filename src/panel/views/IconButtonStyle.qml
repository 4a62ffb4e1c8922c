import QtQuick
import QtQuick.Controls.Basic

// A button around a symbol: a soft rounded plate that deepens while pressed.
AbstractButton {
    id: control
    padding: 6
    hoverEnabled: true
    focusPolicy: Qt.NoFocus

    background: Rectangle {
        radius: 6
        readonly property color ink: appearance.dark ? "white" : "black"
        color: Qt.rgba(ink.r, ink.g, ink.b, control.pressed ? 0.15 : (control.hovered ? 0.11 : 0.08))
        Behavior on color {
            ColorAnimation {
                duration: 120
            }
        }
    }
}
