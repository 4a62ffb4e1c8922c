import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The whole panel: header, the cards (or the settings in their place) and the footer.
Item {
    id: dashboard
    objectName: "dashboardView"

    property bool showSettings: false

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        HeaderView {
            Layout.fillWidth: true
            showSettings: dashboard.showSettings
            onToggleSettings: {
                dashboard.showSettings = !dashboard.showSettings;
                swap.restart();
            }
        }
        Divider {}

        Flickable {
            id: scroller
            objectName: "contentScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: content.implicitHeight
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                policy: scroller.contentHeight > scroller.height ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff
                width: 8
            }

            Loader {
                id: content
                width: scroller.width
                sourceComponent: dashboard.showSettings ? settingsContent : usageContent
                onLoaded: scroller.contentY = 0
            }
        }

        Divider {}
        FooterView {
            Layout.fillWidth: true
        }
    }

    // Opening and closing the settings fades the new content in.
    NumberAnimation {
        id: swap
        target: content
        property: "opacity"
        from: 0
        to: 1
        duration: 220
        easing.type: Easing.InOutQuad
    }

    Component {
        id: usageContent
        Item {
            implicitHeight: cards.implicitHeight + 24
            ColumnLayout {
                id: cards
                objectName: "usageCards"
                x: 16
                y: 12
                width: parent.width - 32
                spacing: 12

                // A card exists only while its provider has figures, so that it is built with
                // them and its bars start where they stand.
                Loader {
                    Layout.fillWidth: true
                    active: !!appState.claudeUsage
                    visible: active
                    sourceComponent: UsageCardView {
                        usage: appState.claudeUsage
                    }
                }
                Loader {
                    Layout.fillWidth: true
                    active: !!appState.codexUsage
                    visible: active
                    sourceComponent: UsageCardView {
                        usage: appState.codexUsage
                    }
                }
                EmptyStateView {
                    visible: !appState.claudeUsage && !appState.codexUsage
                }
            }
        }
    }

    Component {
        id: settingsContent
        Item {
            implicitHeight: settings.implicitHeight + 12
            InlineSettingsView {
                id: settings
                y: 12
                width: parent.width
            }
        }
    }
}
