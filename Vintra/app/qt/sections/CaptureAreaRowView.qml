pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// What of the screen is captured.
Item {
    id: view

    required property CaptureAreaRowModel row

    implicitHeight: Measures.subRow + (limits.text === "" ? 0 : Measures.messageRow) + Measures.subRowsPadding

    Icon {
        x: Measures.iconX
        y: (Measures.subRow - height) / 2
        image: view.row.image
    }
    Words {
        x: Measures.nameX
        height: Measures.subRow
        text: view.row.title
    }
    FlatMenu {
        x: Measures.deviceX
        y: (Measures.subRow - height) / 2
        width: Measures.displayMenuWidth
        menu: view.row.displays
        label: view.row.displayLabel
        name: view.row.displayLabel
    }
    FlatSegmented {
        anchors.right: parent.right
        anchors.rightMargin: Measures.sidePadding
        y: (Measures.subRow - height) / 2
        width: Measures.modesWidth
        enabled: !view.row.disabled
        menu: view.row.modes
        name: view.row.title
    }
    Words {
        id: limits

        x: Measures.nameX
        y: Measures.subRow
        width: Measures.messageWidth
        height: Measures.messageLine
        visible: text !== ""
        text: view.row.limits
        color: DesignColor.sectionSecondary
        font.pixelSize: Measures.secondarySize
    }
}
