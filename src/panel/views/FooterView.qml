import QtQuick
import QtQuick.Layouts

// The bottom row: when the figures were last updated, refresh and quit.
Item {
    id: footer
    objectName: "footerView"

    implicitHeight: row.implicitHeight + 20

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        anchors.topMargin: 10
        anchors.bottomMargin: 10
        spacing: 12

        Row {
            spacing: 4
            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "clock"
                size: 10
                color: appearance.tertiary
            }
            Text {
                objectName: "lastUpdatedText"
                anchors.verticalCenter: parent.verticalCenter
                // Read afresh whenever the state publishes any of its values (a refresh starting
                // or ending, new figures, a changed setting), never on a clock of its own.
                text: {
                    appState.isRefreshing;
                    appState.claudeUsage;
                    appState.codexUsage;
                    appState.settings;
                    appState.smartNotificationSettings;
                    return views.lastUpdatedText(appState.lastUpdated);
                }
                font.pixelSize: 11
                color: appearance.secondary
            }
        }
        Item {
            Layout.fillWidth: true
        }
        IconButtonStyle {
            objectName: "refreshButton"
            contentItem: Item {
                implicitWidth: 13
                implicitHeight: 13
                Symbol {
                    id: refreshSymbol
                    objectName: "refreshSymbol"
                    anchors.centerIn: parent
                    name: "arrow.clockwise"
                    size: 12
                    color: appearance.secondary
                    // One turn a second while a refresh runs; back to rest when it ends.
                    readonly property bool spinning: spin.running
                    NumberAnimation {
                        id: spin
                        target: refreshSymbol
                        property: "rotation"
                        from: 0
                        to: 360
                        duration: 1000
                        loops: Animation.Infinite
                        running: appState.isRefreshing
                    }
                    NumberAnimation {
                        id: settle
                        target: refreshSymbol
                        property: "rotation"
                        to: refreshSymbol.rotation > 180 ? 360 : 0
                        duration: 250
                        easing.type: Easing.InOutQuad
                        onFinished: refreshSymbol.rotation = 0
                    }
                    Connections {
                        target: appState
                        function onIsRefreshingChanged() {
                            if (!appState.isRefreshing)
                                settle.restart();
                        }
                    }
                }
            }
            onClicked: appState.refreshAll()
        }
        SubtleButtonStyle {
            objectName: "quitButton"
            contentItem: Text {
                text: "Quit"
                font.pixelSize: 11
                color: appearance.secondary
            }
            onClicked: views.quit()
        }
    }
}
