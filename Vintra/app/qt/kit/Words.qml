pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// Text of the windows. What says something is a label, which a screen reader finds.
T.Label {
    color: DesignColor.sectionText
    font.pixelSize: Measures.bodySize
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
    renderType: Text.NativeRendering
}
