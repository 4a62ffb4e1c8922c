import QtQuick
import QtQuick.Controls.Basic

// A button around a symbol: a soft rounded plate that deepens while pressed.
AbstractButton {
    id: control
    padding: 6
    focusPolicy: Qt.NoFocus

    background: Rectangle {
        objectName: "iconButtonPlate"
        // Circular corners, as on the cards.
        radius: 6
        color: Qt.rgba(appearance.primary.r, appearance.primary.g, appearance.primary.b,
                       control.pressed ? 0.15 : 0.08)
    }
}
