pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The rows of the tracks, in groups.
Rectangle {
    id: view

    required property TracksModel tracks

    radius: Measures.sectionRadius
    color: DesignColor.sectionFill
    implicitHeight: column.height

    Column {
        id: column

        width: parent.width

        Repeater {
            model: view.tracks
            delegate: TrackSlot {
                width: column.width
            }
        }
    }
}
