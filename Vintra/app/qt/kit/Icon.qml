pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.impl
import Vintra

// One of the drawn pictures, in one colour.
IconImage {
    required property string image
    property real side: Measures.icon

    source: "qrc:/qt/qml/Vintra/icons/" + image + ".svg"
    sourceSize: Qt.size(side, side)
    width: side
    height: side
    color: DesignColor.sectionText
    Accessible.ignored: true
}
