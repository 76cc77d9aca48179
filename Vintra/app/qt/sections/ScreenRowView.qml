pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The screen's row.
Item {
    id: view

    required property ScreenRowModel row

    implicitHeight: Measures.row + (row.isArmed ? 0 : Measures.groupPadding)

    TrackTitle {
        isArmed: view.row.isArmed
        canArm: !view.row.disabled
        title: view.row.title
        image: view.row.image
        onAsked: on => view.row.setArmed(on)
    }
    Name {
        x: Measures.deviceX
        width: parent.width - x - Measures.sidePadding
        height: Measures.row
        text: view.row.summary
        color: DesignColor.sectionSecondary
    }
}
