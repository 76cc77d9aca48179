pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The dot before a state or a warning.
Rectangle {
    implicitWidth: Measures.dot
    implicitHeight: Measures.dot
    radius: Measures.dot / 2
    color: DesignColor.neutral500
}
