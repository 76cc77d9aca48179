pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The title over a section.
Words {
    color: DesignColor.accent
    font.pixelSize: Measures.labelSize
    font.letterSpacing: Measures.labelSpacing
    font.weight: Font.Medium
    height: 16
    Accessible.role: Accessible.Heading
    Accessible.name: text
}
