pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// Shows where a window scrolls.
T.ScrollBar {
    id: bar

    implicitWidth: Measures.scrollBar + 2 * padding
    padding: 2
    Accessible.ignored: true

    contentItem: Rectangle {
        implicitWidth: Measures.scrollBar
        radius: width / 2
        color: bar.pressed || bar.hovered ? DesignColor.neutral500 : DesignColor.divider
    }
}
