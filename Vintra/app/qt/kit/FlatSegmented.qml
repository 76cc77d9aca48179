pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A few choices side by side. A press on any of them, also on the chosen one, is told; the arrow keys go on to the next.
FocusScope {
    id: segmented

    required property MenuModel menu
    required property string name
    property string help
    readonly property bool hasVisualFocus: segments.focused >= 0

    implicitHeight: Measures.control
    opacity: enabled ? 1 : Measures.disabledOpacity
    Accessible.role: Accessible.Grouping
    Accessible.name: name

    Rectangle {
        anchors.fill: parent
        radius: Measures.segmentedRadius
        color: DesignColor.segmentedFill
    }
    Row {
        id: segments

        property int focused: -1
        readonly property real spare: width - textWidth - (segmented.menu.titles.length - 1) * spacing
        property real textWidth: 0
        readonly property real extra: spare / Math.max(1, segmented.menu.titles.length)

        anchors.fill: parent
        anchors.margins: Measures.segmentedPadding
        spacing: Measures.segmentedSpacing

        Repeater {
            id: repeater

            model: segmented.menu.titles
            delegate: FlatSegment {
                required property int index
                required property string modelData

                width: implicitWidth + segments.extra
                height: segments.height
                text: modelData
                name: segmented.name + ": " + modelData
                help: segmented.help
                isChosen: index === segmented.menu.index
                isTabStop: index === Math.max(0, segmented.menu.index)
                onClicked: segmented.menu.choose(index)
                onMoved: by => segments.move(index + by)
                onVisualFocusChanged: segments.note(index, visualFocus)
                onImplicitWidthChanged: segments.measure()
            }
        }

        function measure() {
            let sum = 0;
            for (let n = 0; n < repeater.count; ++n)
                sum += repeater.itemAt(n)?.implicitWidth ?? 0;
            textWidth = sum;
        }
        function note(index: int, hasFocus: bool) {
            if (hasFocus)
                focused = index;
            else if (focused === index)
                focused = -1;
        }
        function move(to: int) {
            const segment = repeater.itemAt(to);
            if (!segment)
                return;
            segment.forceActiveFocus(Qt.TabFocusReason);
            segmented.menu.choose(to);
        }
        Component.onCompleted: measure()
    }
    FocusRing {
        visible: segmented.hasVisualFocus
        around: Measures.segmentedRadius
    }
}
