pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A running time. Each digit has a cell as wide as "0", so that the others stand still when one changes.
Row {
    id: time

    required property string text
    property real size: Measures.timeSize

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    TextMetrics {
        id: zero

        font.family: cells.count > 0 ? cells.itemAt(0).font.family : ""
        font.pixelSize: time.size
        font.weight: Font.Bold
        text: "0"
    }
    Repeater {
        id: cells

        model: time.text.length
        delegate: Words {
            required property int index
            readonly property string character: time.text.charAt(index)

            width: character === ":" ? implicitWidth : Math.ceil(zero.advanceWidth)
            horizontalAlignment: Text.AlignHCenter
            text: character
            color: DesignColor.text
            font.pixelSize: time.size
            font.weight: Font.Bold
            Accessible.ignored: true
        }
    }
}
