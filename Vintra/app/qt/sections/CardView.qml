pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A card over the tracks.
Rectangle {
    id: view

    required property CardModel card

    radius: Measures.sectionRadius
    color: DesignColor.neutral800
    implicitHeight: column.height + 2 * Measures.cardVerticalPadding
    Accessible.role: Accessible.AlertMessage
    Accessible.name: card.title

    Column {
        id: column

        x: Measures.cardHorizontalPadding
        y: Measures.cardVerticalPadding
        width: parent.width - 2 * Measures.cardHorizontalPadding
        spacing: Measures.cardButtonsTop

        CardTexts {
            width: parent.width - (view.card.hasCloseMark ? Measures.mark : 0)
            title: view.card.title
            text: view.card.text
        }
        TextEntry {
            width: parent.width
            visible: view.card.placeholder !== ""
            name: view.card.title
            placeholderText: view.card.placeholder
            text: view.card.note
            onTextEdited: view.card.note = text
            onAccepted: view.card.press(0)
            onVisibleChanged: if (visible) forceActiveFocus()
            Component.onCompleted: if (visible) forceActiveFocus()
        }
        Row {
            visible: view.card.buttons.length > 0
            spacing: 4

            Repeater {
                model: view.card.buttons
                delegate: CardButton {
                    required property int index
                    required property string modelData

                    text: modelData
                    help: view.card.buttonHelp(index)
                    isFilled: view.card.isButtonFilled(index)
                    onClicked: view.card.press(index)
                }
            }
        }
        Words {
            width: Math.min(parent.width, Measures.cardTextWidth)
            visible: view.card.finePrint !== ""
            text: view.card.finePrint
            color: DesignColor.sectionSecondary
            font.pixelSize: Measures.cardButtonSize
            wrapMode: Text.Wrap
            lineHeightMode: Text.FixedHeight
            lineHeight: Measures.finePrintLine
        }
    }
    Mark {
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Measures.cardMark
        visible: view.card.hasCloseMark
        name: "Close"
        onClicked: view.card.close()
    }
}
