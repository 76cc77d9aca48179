pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The ring around what has the keyboard's focus.
Rectangle {
    property real around // the radius of what it surrounds
    readonly property real reach: Measures.focusDistance + Measures.focusWidth

    anchors.fill: parent
    anchors.margins: -reach
    radius: around + reach
    color: "transparent"
    border.width: Measures.focusWidth
    border.color: DesignColor.sectionText
}
