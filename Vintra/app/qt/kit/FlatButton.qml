pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A large button on the dark ground.
FlatAction {
    id: button

    property int style: DesignColor.Primary
    property string image

    isOnGround: true
    cornerRadius: Measures.buttonRadius
    horizontalPadding: Measures.buttonPadding
    implicitHeight: Measures.footerHeight
    font.pixelSize: Measures.buttonSize
    font.weight: Font.Bold

    contentItem: Item {
        implicitWidth: row.implicitWidth

        Row {
            id: row

            anchors.centerIn: parent
            spacing: Measures.controlGap

            Icon {
                visible: button.image !== ""
                anchors.verticalCenter: parent.verticalCenter
                image: button.image || "checkmark"
                side: Measures.buttonIcon
                color: words.color
            }
            Words {
                id: words

                anchors.verticalCenter: parent.verticalCenter
                text: button.text
                font: button.font
                color: DesignColor.buttonTitle(button.style, button.hovered)
                Accessible.ignored: true
            }
        }
    }
    background: Rectangle {
        radius: button.cornerRadius
        color: DesignColor.buttonFill(button.style, button.hovered)
        border.width: button.style === DesignColor.Outlined ? Measures.outline : 0
        border.color: DesignColor.buttonStroke(button.style, button.hovered)
    }
}
