import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The settings, shown in place of the cards: which providers deliver figures, the alerts and
// how often to refresh. Every control writes straight into the application state.
Item {
    id: settingsView
    objectName: "inlineSettingsView"

    readonly property var settings: appState.settings
    readonly property var smart: appState.smartNotificationSettings
    readonly property bool notificationsOn: settings.notifications.enabled

    function hasThreshold(value) {
        return settings.notifications.thresholds.indexOf(value) >= 0;
    }

    implicitHeight: column.implicitHeight + 12

    ColumnLayout {
        id: column
        x: 16
        width: parent.width - 32
        spacing: 16

        SettingsGroup {
            title: "Accounts"
            symbol: "person.2.fill"

            SettingsRow {
                label: "Claude"
                AccountStatus {
                    objectName: "claudeStatus"
                    connected: !!appState.claudeUsage
                }
            }
            SettingsRow {
                label: "Codex"
                AccountStatus {
                    objectName: "codexStatus"
                    connected: !!appState.codexUsage
                }
            }
        }

        SettingsGroup {
            title: "Notifications"
            symbol: "bell.fill"

            ToggleSwitch {
                objectName: "notificationsSwitch"
                text: "Enable notifications"
                checked: settingsView.notificationsOn
                onToggled: appState.setNotificationsEnabled(checked)
            }

            ColumnLayout {
                objectName: "notificationDetails"
                visible: settingsView.notificationsOn
                Layout.fillWidth: true
                spacing: 12

                ToggleSwitch {
                    objectName: "smartThrottlingSwitch"
                    text: "Smart throttling"
                    toolTipText: "Prevents notification spam"
                    checked: settingsView.smart.smartThrottling
                    onToggled: appState.setSmartThrottling(checked)
                }
                ToggleSwitch {
                    objectName: "criticalOnlySwitch"
                    text: "Critical alerts only"
                    toolTipText: "Only alert when usage \u2265 90%"
                    checked: settingsView.smart.criticalAlertsOnly
                    onToggled: appState.setCriticalAlertsOnly(checked)
                }

                ColumnLayout {
                    spacing: 6
                    Text {
                        text: "Alert Thresholds"
                        font.pixelSize: 11
                        color: appearance.secondary
                    }
                    Row {
                        spacing: 16
                        Repeater {
                            model: [50, 75, 90]
                            ThresholdCheckBox {
                                required property int modelData
                                objectName: "threshold" + modelData
                                text: modelData + "%"
                                checked: settingsView.hasThreshold(modelData)
                                onToggled: appState.setThreshold(modelData, checked)
                            }
                        }
                    }
                }

                ToggleSwitch {
                    objectName: "quietHoursSwitch"
                    text: "Quiet hours"
                    checked: settingsView.smart.quietHoursEnabled
                    onToggled: appState.setQuietHours(checked, settingsView.smart.quietHoursStart,
                                                      settingsView.smart.quietHoursEnd)
                }

                RowLayout {
                    objectName: "quietHoursRow"
                    visible: settingsView.smart.quietHoursEnabled
                    spacing: 8
                    Text {
                        text: "From"
                        font.pixelSize: 11
                        color: appearance.secondary
                    }
                    HourPicker {
                        objectName: "quietStartPicker"
                        currentIndex: settingsView.smart.quietHoursStart
                        onActivated: index => appState.setQuietHours(
                                         settingsView.smart.quietHoursEnabled, index,
                                         settingsView.smart.quietHoursEnd)
                    }
                    Text {
                        text: "to"
                        font.pixelSize: 11
                        color: appearance.secondary
                    }
                    HourPicker {
                        objectName: "quietEndPicker"
                        currentIndex: settingsView.smart.quietHoursEnd
                        onActivated: index => appState.setQuietHours(
                                         settingsView.smart.quietHoursEnabled,
                                         settingsView.smart.quietHoursStart, index)
                    }
                }
            }
        }

        SettingsGroup {
            title: "General"
            symbol: "gearshape.fill"

            ToggleSwitch {
                objectName: "launchAtStartupSwitch"
                text: "Launch at startup"
                checked: settingsView.settings.launchAtStartup
                onToggled: appState.setLaunchAtStartup(checked)
            }

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                RowLayout {
                    Layout.fillWidth: true
                    Text {
                        text: "Refresh Interval"
                        font.pixelSize: 12
                        color: appearance.primary
                    }
                    Item {
                        Layout.fillWidth: true
                    }
                    Text {
                        objectName: "intervalText"
                        text: Math.floor(settingsView.settings.refreshInterval) + "s"
                        font.pixelSize: 11
                        color: appearance.secondary
                    }
                }
                IntervalSlider {
                    objectName: "intervalSlider"
                    Layout.fillWidth: true
                    value: settingsView.settings.refreshInterval
                    // Every move goes through the state, which clamps it and restarts polling.
                    onMoved: appState.setRefreshInterval(snapped(value))
                }
            }
        }
    }
}
