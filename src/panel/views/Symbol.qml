import QtQuick

// One of the program's symbols, drawn in a colour at a size (the symbol's box, in pixels).
Image {
    property string name
    property color color: appearance.primary
    property real size: 12

    width: size
    height: size
    source: name.length > 0 ? views.symbol(name, color) : ""
    sourceSize.width: Math.ceil(size)
    sourceSize.height: Math.ceil(size)
    fillMode: Image.PreserveAspectFit
    smooth: true
}
