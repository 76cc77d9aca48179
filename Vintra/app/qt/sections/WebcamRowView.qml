pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A camera's row.
Item {
    id: view

    required property WebcamRowModel row

    implicitHeight: Measures.row + (row.showAddLink ? Measures.linkRow + Measures.groupPadding : 0)

    TrackTitle {
        isArmed: view.row.isArmed
        canArm: view.row.canArm
        title: view.row.title
        image: view.row.image
        onAsked: on => view.row.setArmed(on)
    }
    FlatMenu {
        x: Measures.deviceX
        y: (Measures.row - height) / 2
        width: Measures.deviceWidth
        menu: view.row.devices
        name: view.row.title + ", camera"
    }
    FlatSegmented {
        x: Measures.gainX
        y: (Measures.row - height) / 2
        width: Measures.resolutionWidth
        enabled: view.row.resolutions.isEnabled
        menu: view.row.resolutions
        name: view.row.title + ", resolution"
        help: view.row.resolutionHelp
    }
    FlatInlineButton {
        anchors.right: parent.right
        anchors.rightMargin: Measures.sidePadding
        y: (Measures.row - height) / 2
        width: Measures.previewButtonWidth
        horizontalPadding: 0
        enabled: view.row.canShowPreview
        text: view.row.previewTitle
        name: view.row.previewTitle + " of " + view.row.title
        onClicked: view.row.showPreview()
    }
    Mark {
        x: Measures.markX
        y: (Measures.row - height) / 2
        visible: view.row.isRemovable
        enabled: !view.row.disabled
        name: "Remove " + view.row.title
        onClicked: view.row.remove()
    }
    Link {
        x: Measures.nameX
        y: Measures.row + Measures.linkTop
        visible: view.row.showAddLink
        enabled: view.row.canAdd
        text: view.row.addTitle
        onClicked: view.row.add()
    }
}
