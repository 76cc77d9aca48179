pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The place of a row, with what divides it from the group above. The row's own file is loaded into it.
Item {
    id: slot

    required property TrackRowModel row
    required property string view
    required property bool beginsGroup
    required property int index
    readonly property real above: index === 0 ? Measures.outerGroupPadding
                                            : (beginsGroup ? Measures.divider + Measures.groupPadding : 0)

    implicitHeight: above + loader.height

    Rectangle {
        visible: slot.beginsGroup
        width: parent.width
        height: Measures.divider
        color: DesignColor.sectionRowDivider
    }
    Loader {
        id: loader

        y: slot.above
        width: parent.width
        Component.onCompleted: setSource(slot.view, {
            row: slot.row
        })
    }
}
