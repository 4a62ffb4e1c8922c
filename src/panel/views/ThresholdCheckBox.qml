import QtQuick
import QtQuick.Controls.Basic

// A small checkbox with its label on the right.
CheckBox {
    id: control

    padding: 0
    spacing: 5
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    indicator: Rectangle {
        implicitWidth: 14
        implicitHeight: 14
        x: control.leftPadding
        y: control.topPadding + (control.availableHeight - height) / 2
        radius: 3.5
        readonly property color ink: appearance.dark ? "white" : "black"
        color: control.checked ? appearance.accent : (appearance.dark ? Qt.rgba(1, 1, 1, 0.08) : "white")
        border.width: control.checked ? 0 : 1
        border.color: Qt.rgba(ink.r, ink.g, ink.b, 0.28)

        Symbol {
            anchors.centerIn: parent
            visible: control.checked
            name: "checkmark"
            size: 10
            color: appearance.accentText
        }
    }

    contentItem: Text {
        text: control.text
        font.pixelSize: 11
        color: appearance.primary
        verticalAlignment: Text.AlignVCenter
        leftPadding: control.indicator.width + control.spacing
    }
}
