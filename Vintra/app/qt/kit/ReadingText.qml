pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// A longer text on the dark ground, to be read and selected, which scrolls.
Flickable {
    id: view

    required property string name
    property alias text: words.text
    property alias font: words.font
    property alias color: words.color
    property alias horizontalPadding: words.leftPadding
    property alias verticalPadding: words.topPadding
    readonly property bool hasFocus: words.activeFocus
    readonly property QtObject document: words.textDocument
    readonly property real lowest: Math.max(0, contentHeight - height)

    function scrollTo(place: real) {
        contentY = Math.max(0, Math.min(lowest, place));
    }

    contentHeight: words.implicitHeight
    clip: true
    boundsBehavior: Flickable.StopAtBounds

    TextEdit {
        id: words

        width: view.width
        rightPadding: leftPadding
        bottomPadding: topPadding
        readOnly: true
        selectByMouse: true
        activeFocusOnTab: true
        textFormat: TextEdit.PlainText
        wrapMode: TextEdit.Wrap
        color: DesignColor.text
        selectionColor: DesignColor.accent
        selectedTextColor: DesignColor.bg
        font.pixelSize: Measures.secondarySize
        renderType: Text.NativeRendering
        Accessible.name: view.name

        // Keys alone scroll; with Shift they select.
        Keys.priority: Keys.BeforeItem
        Keys.onPressed: event => {
            const places = new Map([[Qt.Key_Up, view.contentY - DialogMeasures.scrollStep],
                                    [Qt.Key_Down, view.contentY + DialogMeasures.scrollStep],
                                    [Qt.Key_PageUp, view.contentY - view.height],
                                    [Qt.Key_PageDown, view.contentY + view.height],
                                    [Qt.Key_Home, 0], [Qt.Key_End, view.lowest]]);
            event.accepted = event.modifiers === Qt.NoModifier && places.has(event.key);
            if (event.accepted)
                view.scrollTo(places.get(event.key));
        }
    }
    T.ScrollBar.vertical: FlatScrollBar {
        visible: view.lowest > 1
    }
}
