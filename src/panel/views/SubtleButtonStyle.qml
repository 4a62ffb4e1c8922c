import QtQuick
import QtQuick.Controls.Basic

// A button that is just its label, dimmed while pressed.
AbstractButton {
    id: control
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    opacity: pressed ? 0.5 : 1
}
