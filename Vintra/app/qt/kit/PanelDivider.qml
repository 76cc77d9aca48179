pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The line between two parts of the tray panel.
Item {
    implicitWidth: Measures.panelWidth
    implicitHeight: 19

    Rectangle {
        y: 12
        width: parent.width
        height: Measures.divider
        color: DesignColor.groundDivider
    }
}
