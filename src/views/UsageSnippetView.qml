import QtQuick

// The card that answers "how much have I used?": one ring per connected provider and the age of
// the figures. `snapshot` holds the saved figures (claudePercent, codexPercent, claudeResetTime,
// codexResetTime; absent ones undefined); `updatedAgo` is the age as text, e.g. "3 min ago".
// (An Item already owns a property called "data", hence the name `snapshot`.)
Column {
    id: card

    property var snapshot: ({})
    property string updatedAgo

    readonly property bool hasClaude: snapshot.claudePercent !== undefined
                                      && snapshot.claudePercent !== null
    readonly property bool hasCodex: snapshot.codexPercent !== undefined
                                     && snapshot.codexPercent !== null
    readonly property color primaryColor: palette.windowText

    spacing: 16
    padding: 16

    SystemPalette { id: palette; colorGroup: SystemPalette.Active }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 20
        visible: card.hasClaude || card.hasCodex

        UsageGaugeView {
            objectName: "claudeGauge"
            anchors.verticalCenter: parent.verticalCenter
            visible: card.hasClaude
            name: "Claude"
            percent: card.hasClaude ? card.snapshot.claudePercent : 0
            resetTime: card.snapshot.claudeResetTime
        }

        UsageGaugeView {
            objectName: "codexGauge"
            anchors.verticalCenter: parent.verticalCenter
            visible: card.hasCodex
            name: "Codex"
            percent: card.hasCodex ? card.snapshot.codexPercent : 0
            resetTime: card.snapshot.codexResetTime
        }
    }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        text: "Last updated: " + card.updatedAgo
        color: Qt.rgba(card.primaryColor.r, card.primaryColor.g, card.primaryColor.b, 0.6)
        font.pixelSize: 12
    }
}
