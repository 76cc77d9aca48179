pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// What a window has to say: its title, and the text under it.
Column {
    id: texts

    required property DialogModel dialog

    spacing: Measures.controlGap

    Item {
        width: parent.width
        height: title.height

        Dot {
            id: dot

            visible: texts.dialog.isWarning
            y: (Measures.titleSize - height) / 2
            color: DesignColor.meterRed
        }
        Words {
            id: title

            x: dot.visible ? dot.width + Measures.dotGap : 0
            width: parent.width - x
            text: texts.dialog.title
            color: DesignColor.text
            font.pixelSize: Measures.buttonSize
            font.weight: Font.Bold
            wrapMode: Text.Wrap
            lineHeightMode: Text.FixedHeight
            lineHeight: Measures.titleSize
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
    }
    Words {
        width: parent.width
        visible: text !== ""
        text: texts.dialog.text
        color: DesignColor.textSecondary
        wrapMode: Text.Wrap
        lineHeightMode: Text.FixedHeight
        lineHeight: DialogMeasures.dialogLine
    }
}
