pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The mark over a camera's picture while nothing is recorded.
Words {
    height: Measures.previewTag
    leftPadding: Measures.pillPadding
    rightPadding: Measures.pillPadding
    color: DesignColor.text
    font.pixelSize: Measures.previewTagSize
    font.weight: Font.Medium
    background: Rectangle {
        radius: height / 2
        color: DesignColor.previewFill
    }
}
