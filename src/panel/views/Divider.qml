import QtQuick
import QtQuick.Layouts

// A hairline between two parts of the panel or of a card.
Rectangle {
    Layout.fillWidth: true
    implicitHeight: 1
    color: appearance.dark ? Qt.rgba(1, 1, 1, 0.1) : Qt.rgba(0, 0, 0, 0.1)
}
