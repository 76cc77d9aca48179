pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The computer's sound: the row, what is to be said of it, and how it is heard.
Column {
    id: view

    required property ComputerAudioRowModel row

    bottomPadding: row.isArmed || row.message !== "" ? Measures.subRowsPadding : Measures.groupPadding

    Item {
        width: view.width
        height: Measures.row

        TrackTitle {
            isArmed: view.row.isArmed
            canArm: !view.row.disabled
            title: view.row.title
            image: view.row.image
            help: view.row.help
            whyDisabled: view.row.message
            onAsked: on => view.row.setArmed(on)
        }
        Words {
            x: Measures.deviceX
            height: parent.height
            text: view.row.deviceName
            color: DesignColor.sectionSecondary
        }
        LevelMeter {
            x: Measures.meterX
            anchors.verticalCenter: parent.verticalCenter
            meter: view.row.meter
            name: view.row.title
        }
    }
    Item {
        width: view.width
        height: message.lineCount > 1 ? Measures.subRow : Measures.messageRow
        visible: view.row.message !== ""

        Dot {
            id: warning

            x: Measures.nameX
            y: (Measures.messageLine - height) / 2
            visible: view.row.isWarning
            color: DesignColor.meterRed
        }
        Words {
            id: message

            x: Measures.nameX + (warning.visible ? warning.width + Measures.controlGap : 0)
            width: Measures.nameX + Measures.messageWidth - x
            text: view.row.message
            color: view.row.isWarning ? DesignColor.sectionText : DesignColor.sectionSecondary
            font.pixelSize: Measures.secondarySize
            wrapMode: Text.Wrap
            lineHeightMode: Text.FixedHeight
            lineHeight: Measures.messageLine
        }
    }
    Item {
        width: view.width
        height: Measures.subRow
        visible: view.row.isArmed

        Words {
            x: Measures.nameX
            height: parent.height
            text: view.row.monitorLabel
        }
        FlatMenu {
            x: Measures.deviceX
            anchors.verticalCenter: parent.verticalCenter
            width: Measures.deviceWidth
            menu: view.row.monitors
            name: view.row.monitorLabel
        }
        Words {
            x: Measures.gainX
            height: parent.height
            text: view.row.recordedAt
            color: DesignColor.sectionSecondary
        }
    }
    Item {
        width: view.width
        height: Measures.checkRow
        visible: view.row.isArmed

        FlatCheckbox {
            id: lowLatency

            x: Measures.nameX
            anchors.verticalCenter: parent.verticalCenter
            isOn: view.row.lowLatency
            name: view.row.lowLatencyTitle
            help: view.row.lowLatencyHelp
            onAsked: on => view.row.setLowLatency(on)
        }
        Words {
            anchors.left: lowLatency.right
            anchors.leftMargin: Measures.controlGap
            height: parent.height
            text: view.row.lowLatencyTitle

            TapHandler {
                onTapped: view.row.setLowLatency(!view.row.lowLatency)
            }
        }
    }
}
