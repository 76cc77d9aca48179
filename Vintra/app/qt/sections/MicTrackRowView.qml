pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A row of an audio input.
Item {
    id: view

    required property MicTrackRowModel row

    implicitHeight: Measures.row + (row.showAddLink ? Measures.linkRow + Measures.groupPadding : 0)

    TrackTitle {
        isArmed: view.row.isArmed
        canArm: view.row.canArm
        title: view.row.title
        image: view.row.isFirst ? "microphone" : ""
        isTitleShown: false
        onAsked: on => view.row.setArmed(on)
    }
    TextEntry {
        x: Measures.nameX
        y: (Measures.row - height) / 2
        width: Measures.nameWidth
        enabled: !view.row.disabled
        name: view.row.placeholder + ", name of the track"
        placeholderText: view.row.placeholder
        text: view.row.name
        onTextEdited: view.row.setName(text)
    }
    FlatMenu {
        x: Measures.deviceX
        y: (Measures.row - height) / 2
        width: view.row.hasChannels ? Measures.deviceBesideChannelWidth : Measures.deviceWidth
        menu: view.row.devices
        name: view.row.title + ", device"
    }
    FlatMenu {
        x: Measures.channelX
        y: (Measures.row - height) / 2
        width: Measures.channelWidth
        visible: view.row.hasChannels
        menu: view.row.channels
        name: view.row.title + ", channel"
    }
    GainField {
        x: Measures.gainX
        y: (Measures.row - height) / 2
        enabled: !view.row.disabled
        name: view.row.title + ", gain"
        title: view.row.gainTitle
        decibels: view.row.decibels
        onAsked: decibels => view.row.setDecibels(decibels)
    }
    LevelMeter {
        x: Measures.meterX
        y: (Measures.row - height) / 2
        meter: view.row.meter
        name: view.row.title
    }
    Dot {
        x: Measures.meterX
        anchors.verticalCenter: warning.verticalCenter
        visible: warning.visible
        color: DesignColor.meterRed
    }
    Words {
        id: warning

        x: Measures.meterX + Measures.dot + Measures.controlGap / 2
        y: (Measures.row + Measures.meterHeight) / 2 + 1
        height: Measures.meterWarning
        visible: text !== ""
        text: view.row.warning
        font.pixelSize: Measures.cardButtonSize
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
        enabled: !view.row.disabled
        text: view.row.addTitle
        onClicked: view.row.add()
    }
}
