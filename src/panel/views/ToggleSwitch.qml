import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A switch with its label on the left; the knob slides over in an ease-in-out motion.
Switch {
    id: control

    // Hover help, shown after a short rest of the pointer.
    property string toolTipText

    Layout.fillWidth: true
    padding: 0
    spacing: 8
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    ToolTip.text: toolTipText
    ToolTip.visible: toolTipText.length > 0 && hovered
    ToolTip.delay: 600

    contentItem: Text {
        text: control.text
        font.pixelSize: 12
        color: appearance.primary
        verticalAlignment: Text.AlignVCenter
        rightPadding: control.indicator.width + control.spacing
    }

    indicator: Rectangle {
        implicitWidth: 30
        implicitHeight: 18
        x: control.width - width - control.rightPadding
        y: control.topPadding + (control.availableHeight - height) / 2
        radius: height / 2
        readonly property color ink: appearance.dark ? "white" : "black"
        color: control.checked ? appearance.accent : Qt.rgba(ink.r, ink.g, ink.b, 0.14)
        border.width: control.checked ? 0 : 1
        border.color: Qt.rgba(ink.r, ink.g, ink.b, 0.06)
        Behavior on color {
            ColorAnimation {
                duration: 180
                easing.type: Easing.InOutQuad
            }
        }

        Rectangle {
            objectName: "switchKnob"
            width: 14
            height: 14
            radius: 7
            y: 2
            x: control.checked ? parent.width - width - 2 : 2
            color: "white"
            border.width: 1
            border.color: Qt.rgba(0, 0, 0, 0.1)
            Behavior on x {
                NumberAnimation {
                    duration: 180
                    easing.type: Easing.InOutQuad
                }
            }
        }
    }
}
