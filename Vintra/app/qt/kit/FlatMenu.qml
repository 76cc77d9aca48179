pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// A menu that shows its choice.
T.ComboBox {
    id: box

    required property MenuModel menu
    required property string name
    property string label // before the choice
    property string help

    model: menu.titles
    currentIndex: menu.index
    displayText: menu.title
    enabled: menu.isEnabled
    opacity: enabled ? 1 : Measures.disabledOpacity
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    implicitHeight: Measures.control
    leftPadding: Measures.textPadding
    rightPadding: Measures.chevronMargin + Measures.chevron + Measures.chevronMargin
    // The choice is the menu's own: it may refuse one.
    onActivated: option => {
        menu.choose(option);
        currentIndex = Qt.binding(() => menu.index);
    }

    Accessible.name: name
    Accessible.description: help
    Accessible.onPressAction: popup.open()
    Keys.onReturnPressed: popup.open()
    Keys.onEnterPressed: popup.open()

    contentItem: Item {
        Words {
            id: labelWords

            height: parent.height
            visible: box.label !== ""
            text: box.label
            color: DesignColor.sectionSecondary
            Accessible.ignored: true
        }
        Name {
            x: labelWords.visible ? labelWords.width + Measures.controlGap : 0
            width: parent.width - x
            height: parent.height
            text: box.displayText
            Accessible.ignored: true
        }
    }
    indicator: Icon {
        x: box.width - Measures.chevronMargin - width
        y: (box.height - height) / 2
        image: "chevron"
        side: Measures.chevron
        opacity: Measures.chevronOpacity
    }
    background: Rectangle {
        radius: Measures.controlRadius
        color: DesignColor.sectionFill
        border.width: Measures.outline
        border.color: DesignColor.sectionDivider

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            visible: box.hovered
            color: DesignColor.inlineHover
        }
    }
    delegate: FlatMenuItem {
        required property string modelData
        required property int index

        width: ListView.view.width
        text: modelData
        isChosen: index === box.currentIndex
        highlighted: index === box.highlightedIndex
    }
    popup: FlatMenuList {
        y: box.height + Measures.controlGap / 2
        width: Math.max(box.width, Measures.timelineWidth)
        items: box.delegateModel
        current: box.highlightedIndex
        isShown: visible
    }

    FocusRing {
        visible: box.visualFocus
        around: Measures.controlRadius
    }
    HelpText {
        text: box.help
        shown: box.hovered && !box.popup.visible
    }
}
