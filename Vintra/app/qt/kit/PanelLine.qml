pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A line of the tray panel that does something.
FlatAction {
    id: line

    property string detail
    property color titleColor: DesignColor.text

    isOnGround: true
    x: Measures.panelPadding - Measures.panelLinePadding
    width: Measures.panelWidth - 2 * x
    implicitHeight: detail === "" ? Measures.panelLine : 2 * 16 + 12
    leftPadding: Measures.panelLinePadding
    cornerRadius: Measures.panelLineRadius
    Accessible.role: Accessible.Button

    contentItem: Item {
        Column {
            anchors.verticalCenter: parent.verticalCenter

            Words {
                height: line.detail === "" ? implicitHeight : 16
                text: line.text
                color: line.titleColor
                font.weight: line.detail === "" ? Font.Normal : Font.Medium
                Accessible.ignored: true
            }
            Words {
                visible: line.detail !== ""
                height: 16
                text: line.detail
                color: DesignColor.textFaint
                font.pixelSize: Measures.secondarySize
                Accessible.ignored: true
            }
        }
    }
    background: Rectangle {
        radius: line.cornerRadius
        color: line.hovered ? DesignColor.groundHover : "transparent"
    }
}
