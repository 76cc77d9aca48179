pragma ComponentBehavior: Unbound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The text that explains what lies under the pointer. It is made when it is first shown.
Item {
    id: help

    property string text
    property bool shown
    property bool isInMiddle // not below, where it would hide what lies there

    onShownChanged: if (shown && text !== "") loader.active = true

    Loader {
        id: loader

        active: false
        sourceComponent: T.ToolTip {
            id: tip

            readonly property real mostWords: help.isInMiddle
                                              ? help.parent.width - 2 * Measures.controlGap - leftPadding - rightPadding
                                              : Measures.helpWidth

            parent: help.parent
            visible: help.shown && help.text !== ""
            delay: Measures.helpDelay
            margins: Measures.controlGap
            x: help.isInMiddle ? (help.parent.width - width) / 2 : 0
            y: help.isInMiddle ? (help.parent.height - height) / 2 : help.parent.height + Measures.controlGap
            implicitWidth: Math.min(words.implicitWidth, mostWords) + leftPadding + rightPadding
            implicitHeight: contentHeight + topPadding + bottomPadding
            horizontalPadding: 10
            verticalPadding: 6
            text: help.text
            closePolicy: T.Popup.CloseOnEscape

            contentItem: Words {
                id: words

                text: tip.text
                color: DesignColor.text
                font.pixelSize: Measures.secondarySize
                wrapMode: Text.Wrap
            }
            background: Rectangle {
                radius: Measures.panelLineRadius
                color: DesignColor.surface
                border.color: DesignColor.helpOutline
            }
        }
    }
}
