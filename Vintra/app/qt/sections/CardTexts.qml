pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The title and the text of a card.
Column {
    id: texts

    required property string title
    required property string text

    spacing: Measures.cardTextTop

    Words {
        width: Math.min(parent.width, Measures.cardTextWidth)
        text: texts.title
        font.weight: Font.Bold
        wrapMode: Text.Wrap
        lineHeightMode: Text.FixedHeight
        lineHeight: 18
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Words {
        width: Math.min(parent.width, Measures.cardTextWidth)
        visible: texts.text !== ""
        text: texts.text
        color: DesignColor.sectionSecondary
        font.pixelSize: Measures.secondarySize
        wrapMode: Text.Wrap
        lineHeightMode: Text.FixedHeight
        lineHeight: Measures.cardLine
    }
}
