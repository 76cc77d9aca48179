pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A button on a section.
FlatAction {
    id: button

    horizontalPadding: Measures.inlinePadding
    implicitHeight: Measures.control

    contentItem: Words {
        text: button.text
        horizontalAlignment: Text.AlignHCenter
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: button.cornerRadius
        color: button.hovered ? DesignColor.inlineHover : "transparent"
        border.width: Measures.outline
        border.color: DesignColor.sectionDivider
    }
}
