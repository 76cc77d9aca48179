pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A small button on a card or in the status line.
FlatAction {
    id: button

    property bool isFilled

    cornerRadius: Measures.cardButtonRadius
    horizontalPadding: Measures.cardButtonPadding
    verticalPadding: Measures.cardButtonVerticalPadding
    implicitHeight: Measures.cardButtonHeight
    font.pixelSize: Measures.cardButtonSize
    font.weight: Font.Medium

    contentItem: Words {
        text: button.text
        font: button.font
        horizontalAlignment: Text.AlignHCenter
        color: button.isOnGround && !button.hovered ? DesignColor.text : DesignColor.sectionText
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: button.cornerRadius
        color: button.isFilled ? (button.hovered ? DesignColor.accentHover : DesignColor.accent)
                               : (button.hovered ? DesignColor.cardButtonHover : "transparent")
    }
}
