pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The open part of a menu.
T.Popup {
    id: list

    required property QtObject items
    required property int current
    required property bool isShown

    implicitHeight: Math.min(choices.contentHeight + 2 * padding, 12 * Measures.menuItem)
    padding: Measures.menuPadding
    margins: Measures.controlGap

    contentItem: ListView {
        id: choices

        clip: true
        model: list.isShown ? list.items : null
        currentIndex: list.current
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: 0
    }
    background: Rectangle {
        radius: Measures.controlRadius
        color: DesignColor.sectionFill
        border.width: Measures.outline
        border.color: DesignColor.sectionDivider
    }
}
