pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The small cross that takes a row or a card away.
FlatAction {
    id: mark

    cornerRadius: Measures.mark / 2
    implicitWidth: Measures.mark
    implicitHeight: Measures.mark

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            image: "xmark"
            side: Measures.markIcon
            color: mark.hovered ? DesignColor.sectionText : DesignColor.sectionSecondary
        }
    }
    background: Rectangle {
        radius: mark.cornerRadius
        color: mark.hovered ? DesignColor.markHover : "transparent"
    }
}
