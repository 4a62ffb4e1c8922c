import QtQuick

// The panel's window: the rounded panel that holds the dashboard, with room around it for a soft
// shadow where a compositor can show one.
Window {
    id: frame
    color: "transparent"

    // Set by the program: 24 where a compositor draws the shadow, 0 where the window is the
    // panel alone.
    property int shadowMargin: 24
    readonly property int shadowBlur: 18
    readonly property int cornerRadius: 10

    BorderImage {
        objectName: "panelShadow"
        source: "image://shadow/" + frame.cornerRadius + "/" + frame.shadowBlur
        x: panel.x - frame.shadowBlur
        y: panel.y - frame.shadowBlur + 4
        width: panel.width + 2 * frame.shadowBlur
        height: panel.height + 2 * frame.shadowBlur
        border.left: frame.shadowBlur + frame.cornerRadius + 1
        border.top: frame.shadowBlur + frame.cornerRadius + 1
        border.right: frame.shadowBlur + frame.cornerRadius + 1
        border.bottom: frame.shadowBlur + frame.cornerRadius + 1
        opacity: appearance.dark ? 0.7 : 0.32
        visible: frame.shadowMargin > 0
    }

    // The panel's background, behind the dashboard, which is laid out on all of it.
    Rectangle {
        id: panel
        objectName: "panel"
        x: frame.shadowMargin
        y: frame.shadowMargin
        width: frame.width - 2 * frame.shadowMargin
        height: frame.height - 2 * frame.shadowMargin
        radius: frame.cornerRadius
        color: appearance.background
        border.width: 0

        DashboardView {
            anchors.fill: parent
        }

        // The outline is drawn over the dashboard's edge rather than around it, so that it
        // takes no room from the dashboard.
        Rectangle {
            objectName: "panelOutline"
            anchors.fill: parent
            z: 1
            radius: frame.cornerRadius
            color: "transparent"
            border.width: 1
            border.color: appearance.dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.14)
        }
    }
}
