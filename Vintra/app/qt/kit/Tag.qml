pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A word on a ground of its own.
Words {
    color: DesignColor.neutral800
    font.pixelSize: Measures.tagSize
    font.letterSpacing: Measures.tagSpacing
    font.weight: Font.Medium
    leftPadding: Measures.tagHorizontalPadding
    rightPadding: Measures.tagHorizontalPadding
    topPadding: Measures.tagVerticalPadding
    bottomPadding: Measures.tagVerticalPadding
    background: Rectangle {
        radius: height / 2
        color: DesignColor.neutral100
    }
}
