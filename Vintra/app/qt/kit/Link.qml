pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A line of text that does something.
FlatAction {
    id: link

    cornerRadius: Measures.linkRadius
    font.pixelSize: Measures.secondarySize
    font.weight: Font.Medium

    Accessible.role: Accessible.Link

    contentItem: Words {
        id: words

        text: link.text
        font: link.font
        color: link.hovered ? DesignColor.sectionText : DesignColor.sectionSecondary
        Accessible.ignored: true

        Rectangle {
            y: words.baselineOffset + Measures.linkUnderline
            width: parent.width
            height: Measures.outline
            color: link.hovered ? DesignColor.sectionText : DesignColor.linkUnderline
        }
    }
}
