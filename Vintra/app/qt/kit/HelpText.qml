pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The text that explains what lies under the pointer. It is made when it is first shown.
Loader {
    id: loader

    property string text
    property bool shown

    active: false
    onShownChanged: if (shown && text !== "") active = true

    sourceComponent: T.ToolTip {
        id: tip

        parent: loader.parent
        visible: loader.shown && loader.text !== ""
        delay: Measures.helpDelay
        margins: Measures.controlGap
        x: 0
        y: loader.parent.height + Measures.controlGap
        implicitWidth: Math.min(words.implicitWidth, Measures.helpWidth) + leftPadding + rightPadding
        implicitHeight: contentHeight + topPadding + bottomPadding
        horizontalPadding: 10
        verticalPadding: 6
        text: loader.text
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
