import QtQuick
import QtQuick.Controls.Basic

// A drop-down of the hours of the day, 0 to 23, each written the user's way ("10 PM").
ComboBox {
    id: control

    model: 24
    implicitWidth: 80
    implicitHeight: 22
    leftPadding: 8
    rightPadding: 20
    hoverEnabled: true
    displayText: views.formatHour(currentIndex)

    readonly property color ink: appearance.dark ? "white" : "black"

    background: Rectangle {
        radius: 5
        color: appearance.dark ? Qt.rgba(1, 1, 1, control.pressed ? 0.16 : 0.1)
                               : (control.pressed ? Qt.rgba(0, 0, 0, 0.06) : "white")
        border.width: 1
        border.color: Qt.rgba(control.ink.r, control.ink.g, control.ink.b, 0.16)
    }

    contentItem: Text {
        text: control.displayText
        font.pixelSize: 11
        color: appearance.primary
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }

    indicator: Symbol {
        x: control.width - width - 7
        y: (control.height - height) / 2
        name: "chevron.down"
        size: 8
        color: appearance.secondary
    }

    delegate: ItemDelegate {
        id: entry
        width: control.width
        height: 22
        highlighted: control.highlightedIndex === index
        contentItem: Text {
            text: views.formatHour(index)
            font.pixelSize: 11
            color: entry.highlighted ? appearance.accentText : appearance.primary
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 4
            color: entry.highlighted ? appearance.accent : "transparent"
        }
    }

    popup: Popup {
        // Kept inside the visible panel: the window around it is only shadow.
        margins: 28
        y: control.height + 2
        width: control.width
        implicitHeight: Math.min(contentItem.implicitHeight + 8, 22 * 8 + 8)
        padding: 4
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: control.popup.visible ? control.delegateModel : null
            currentIndex: control.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
        }
        background: Rectangle {
            radius: 6
            color: appearance.background
            border.width: 1
            border.color: Qt.rgba(control.ink.r, control.ink.g, control.ink.b, 0.18)
        }
    }
}
