import QtQuick

Window {
    id: frame
    color: "transparent"
}
