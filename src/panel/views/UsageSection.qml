import QtQuick
import QtQuick.Layouts

// One rate-limit window in a card: its name and share used, the bar, and when it resets.
ColumnLayout {
    id: section
    objectName: "usageSection"

    property string icon
    property string label
    property int percent: 0
    property string subtitle

    spacing: 6
    Layout.fillWidth: true

    RowLayout {
        spacing: 6
        Layout.fillWidth: true
        Symbol {
            name: section.icon
            size: 11
            color: appearance.secondary
        }
        Text {
            objectName: "sectionLabel"
            text: section.label
            font.pixelSize: 12
            color: appearance.secondary
        }
        Item {
            Layout.fillWidth: true
        }
        Text {
            objectName: "sectionPercent"
            text: section.percent + "%"
            font.pixelSize: 16
            font.weight: Font.DemiBold
            color: appearance.primary
        }
    }
    ProgressBarView {
        percent: section.percent
    }
    Text {
        objectName: "sectionSubtitle"
        text: section.subtitle
        font.pixelSize: 10
        color: appearance.secondary
        elide: Text.ElideRight
        Layout.fillWidth: true
    }
}
