pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The row of another virtual input, or the link that brings it.
Item {
    id: view

    required property OtherVirtualInputRowModel row

    implicitHeight: (row.isShown ? Measures.row : Measures.linkRowAlone) + Measures.groupPadding

    Item {
        width: parent.width
        height: Measures.row
        visible: view.row.isShown

        TrackTitle {
            isArmed: view.row.isArmed
            canArm: view.row.canArm
            title: view.row.title
            image: view.row.image
            onAsked: on => view.row.setArmed(on)
        }
        FlatMenu {
            x: Measures.deviceX
            anchors.verticalCenter: parent.verticalCenter
            width: Measures.deviceWidth
            menu: view.row.devices
            name: view.row.title + ", device"
        }
        LevelMeter {
            x: Measures.meterX
            anchors.verticalCenter: parent.verticalCenter
            meter: view.row.meter
            name: view.row.title
        }
        Mark {
            x: Measures.markX
            anchors.verticalCenter: parent.verticalCenter
            enabled: !view.row.disabled
            name: "Remove " + view.row.title
            help: view.row.removeHelp
            onClicked: view.row.remove()
        }
    }
    Link {
        x: Measures.nameX
        y: (Measures.linkRowAlone - height) / 2
        visible: !view.row.isShown
        enabled: !view.row.disabled
        text: view.row.showTitle
        onClicked: view.row.bring()
    }
}
