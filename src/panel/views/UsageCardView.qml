import QtQuick
import QtQuick.Layouts

// One provider's card: its windows, the latest session's context use and today's activity.
Rectangle {
    id: card
    objectName: usage ? "usageCard_" + usage.provider : "usageCard"

    property var usage
    readonly property bool hasPlan: !!usage && usage.plan !== undefined && usage.plan !== null
    readonly property bool hasSonnet: !!usage && !!usage.sonnet
    readonly property bool hasContext: !!usage && !!usage.contextUsage
    // A day without local activity is not worth a block of zeros.
    readonly property bool hasToday: !!usage && !!usage.today
                                     && !(usage.today.messages <= 0 && usage.today.tokens === "0")

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 24
    // Circular corners: a continuous curve would take Qt Quick Shapes, which keeps some 1.3 MB
    // more resident for as long as the panel lives.
    radius: 10
    color: appearance.controlBackground
    // A hairline in the text colour, faint enough to only set the card off its background.
    border.width: 0.5
    border.color: Qt.rgba(appearance.primary.r, appearance.primary.g, appearance.primary.b, 0.1)

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: 12
        spacing: 14

        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            Text {
                objectName: "cardTitle"
                text: card.usage && card.usage.provider === "codex" ? "Codex Usage" : "Claude Usage"
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: appearance.primary
            }
            Item {
                Layout.fillWidth: true
            }
            Rectangle {
                objectName: "planBadge"
                visible: card.hasPlan
                implicitWidth: planText.implicitWidth + 16
                implicitHeight: planText.implicitHeight + 6
                radius: height / 2
                color: Qt.rgba(appearance.accent.r, appearance.accent.g, appearance.accent.b, 0.15)
                Text {
                    id: planText
                    objectName: "planText"
                    anchors.centerIn: parent
                    text: card.hasPlan ? card.usage.plan : ""
                    font.pixelSize: 10
                    font.weight: Font.Medium
                    color: appearance.primary
                }
            }
        }

        UsageSection {
            icon: "clock.fill"
            label: "5-Hour Window"
            percent: card.usage ? card.usage.fiveHour.percent : 0
            subtitle: "Resets " + (card.usage ? card.usage.fiveHour.resetLabel : "")
        }

        Divider {}
        UsageSection {
            icon: "chart.bar.fill"
            label: "Weekly"
            percent: card.usage ? card.usage.weekly.percent : 0
            subtitle: "Resets " + (card.usage ? card.usage.weekly.resetLabel : "")
        }

        Divider {
            visible: card.hasSonnet
        }
        UsageSection {
            visible: card.hasSonnet
            icon: "sparkles"
            label: "Sonnet (7-day)"
            percent: card.hasSonnet ? card.usage.sonnet.percent : 0
            subtitle: "Resets " + (card.hasSonnet ? card.usage.sonnet.resetLabel : "")
        }

        Divider {
            visible: card.hasContext
        }
        ColumnLayout {
            objectName: "contextBlock"
            visible: card.hasContext
            Layout.fillWidth: true
            spacing: 6
            RowLayout {
                Layout.fillWidth: true
                spacing: 6
                Symbol {
                    name: "bubble.left.fill"
                    size: 11
                    color: appearance.secondary
                }
                Text {
                    text: "Context"
                    font.pixelSize: 12
                    font.weight: Font.Medium
                    color: appearance.primary
                }
                Item {
                    Layout.fillWidth: true
                }
                Text {
                    objectName: "contextPercent"
                    text: (card.hasContext ? card.usage.contextUsage.percentUsed : 0) + "%"
                    font.pixelSize: 16
                    font.weight: Font.DemiBold
                    color: appearance.primary
                }
            }
            ProgressBarView {
                percent: card.hasContext ? card.usage.contextUsage.percentUsed : 0
            }
            Text {
                objectName: "contextTokens"
                text: card.hasContext
                      ? views.formatTokens(card.usage.contextUsage.tokensUsed) + " / "
                        + views.formatTokens(card.usage.contextUsage.effectiveWindow) + " tokens"
                      : ""
                font.pixelSize: 10
                color: appearance.secondary
            }
        }

        Divider {
            visible: card.hasToday
        }
        ColumnLayout {
            objectName: "todayBlock"
            visible: card.hasToday
            Layout.fillWidth: true
            spacing: 8
            RowLayout {
                spacing: 6
                Symbol {
                    name: "calendar"
                    size: 11
                    color: appearance.secondary
                }
                Text {
                    text: "Today"
                    font.pixelSize: 12
                    color: appearance.primary
                }
            }
            RowLayout {
                spacing: 32
                StatRow {
                    objectName: "messagesStat"
                    label: "Messages"
                    value: card.hasToday ? String(card.usage.today.messages) : ""
                }
                StatRow {
                    objectName: "tokensStat"
                    label: "Tokens"
                    value: card.hasToday ? card.usage.today.tokens : ""
                }
            }
        }
    }
}
