import QtQuick

// The card that answers "how much have I used?": one ring per connected provider and the age of
// the figures. `snapshot` holds the saved figures (claudePercent, codexPercent, claudeResetTime,
// codexResetTime, absent ones undefined, and lastUpdated). An Item already owns a property
// called "data", hence the name `snapshot`.
Column {
    id: card

    property var snapshot: ({})

    readonly property bool hasClaude: snapshot.claudePercent !== undefined
                                      && snapshot.claudePercent !== null
    readonly property bool hasCodex: snapshot.codexPercent !== undefined
                                     && snapshot.codexPercent !== null

    spacing: 16
    padding: 16

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
        objectName: "lastUpdatedText"
        anchors.horizontalCenter: parent.horizontalCenter
        text: "Last updated: " + views.lastUpdatedText(card.snapshot.lastUpdated)
        color: appearance.secondary
        font.pixelSize: 12
    }
}
