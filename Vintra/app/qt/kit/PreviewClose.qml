pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The button that hides a camera's window.
FlatAction {
    id: button

    required property string image

    name: help
    focusPolicy: Qt.NoFocus
    cornerRadius: Measures.previewControl / 2
    implicitWidth: Measures.previewControl
    implicitHeight: Measures.previewControl

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            image: button.image
            side: Measures.previewCloseIcon
            color: DesignColor.text
        }
    }
    background: Rectangle {
        radius: button.cornerRadius
        color: button.hovered ? DesignColor.surface : DesignColor.previewFill
    }
}
