pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The status line, which becomes a card where there is something to do.
Rectangle {
    id: view

    required property StatusStripModel strip

    radius: Measures.sectionRadius
    color: strip.isCard ? DesignColor.neutral800 : DesignColor.surface
    implicitHeight: strip.isCard ? texts.height + 2 * Measures.cardVerticalPadding : Measures.status

    Words {
        anchors.left: parent.left
        anchors.leftMargin: Measures.cardHorizontalPadding
        anchors.right: copy.left
        anchors.rightMargin: Measures.cardsMargin
        anchors.verticalCenter: parent.verticalCenter
        visible: !view.strip.isCard
        text: view.strip.message
        color: DesignColor.text
        font.pixelSize: Measures.secondarySize
        elide: Text.ElideRight
        Accessible.name: text

        HelpText {
            text: view.strip.message
            shown: pointer.hovered && parent.truncated
        }
        HoverHandler {
            id: pointer
        }
    }
    CardTexts {
        id: texts

        anchors.left: parent.left
        anchors.leftMargin: Measures.cardHorizontalPadding
        anchors.right: copy.left
        anchors.rightMargin: Measures.cardsMargin
        y: Measures.cardVerticalPadding
        visible: view.strip.isCard
        title: view.strip.message
        text: view.strip.error
    }
    CardButton {
        id: copy

        anchors.right: parent.right
        anchors.rightMargin: view.strip.isCard ? Measures.cardHorizontalPadding : Measures.statusRight
        y: view.strip.isCard ? Measures.cardVerticalPadding : (parent.height - height) / 2
        isOnGround: !view.strip.isCard
        isFilled: view.strip.isCard
        text: view.strip.copyTitle
        help: view.strip.copyHelp
        onClicked: view.strip.copyDiagnostics()
    }
}
