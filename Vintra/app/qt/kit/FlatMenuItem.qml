pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// One choice of an open menu.
T.ItemDelegate {
    id: item

    required property bool isChosen

    implicitHeight: Measures.menuItem
    leftPadding: Measures.textPadding
    rightPadding: Measures.textPadding
    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.selected: isChosen

    contentItem: Item {
        Name {
            width: parent.width - (check.visible ? Measures.icon : 0)
            height: parent.height
            text: item.text
            Accessible.ignored: true
        }
        Icon {
            id: check

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: item.isChosen
            image: "checkmark"
            side: Measures.checkmark
        }
    }
    background: Rectangle {
        radius: Measures.segmentRadius
        color: item.highlighted ? DesignColor.inlineHover : "transparent"
    }
}
