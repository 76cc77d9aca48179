pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// Under which name and where a take is saved, and for which editor.
Rectangle {
    id: view

    required property OutputSectionModel output

    radius: Measures.sectionRadius
    color: DesignColor.sectionFill
    implicitHeight: 2 * Measures.row + 2 * Measures.outerGroupPadding

    Item {
        y: Measures.outerGroupPadding
        width: parent.width
        height: Measures.row

        Words {
            x: Measures.sidePadding
            height: parent.height
            text: view.output.sessionNameLabel
        }
        TextEntry {
            x: Measures.deviceX
            anchors.verticalCenter: parent.verticalCenter
            width: Measures.deviceWidth
            enabled: view.output.isSessionNameEnabled
            name: view.output.sessionNameLabel
            text: view.output.sessionName
            onTextEdited: view.output.setSessionName(text)
        }
        Words {
            x: Measures.timelineLabelX
            height: parent.height
            text: view.output.timelineLabel
        }
        FlatMenu {
            x: Measures.timelineX
            anchors.verticalCenter: parent.verticalCenter
            width: Measures.timelineWidth
            menu: view.output.timeline
            name: view.output.timelineLabel
            help: view.output.timelineHelp
        }
    }
    Item {
        y: Measures.outerGroupPadding + Measures.row
        width: parent.width
        height: Measures.row

        Icon {
            x: Measures.sidePadding
            anchors.verticalCenter: parent.verticalCenter
            image: view.output.folderLabel
            Accessible.ignored: false
            Accessible.role: Accessible.Graphic
            Accessible.name: view.output.folderLabel
        }
        Row {
            x: Measures.folderTextX
            height: parent.height

            Dot {
                visible: view.output.folderNote !== ""
                anchors.verticalCenter: parent.verticalCenter
                color: DesignColor.meterRed
            }
            Item {
                visible: view.output.folderNote !== ""
                width: Measures.controlGap
                height: 1
            }
            Name {
                height: parent.height
                width: Math.min(implicitWidth, Measures.folderTextWidth - x - note.width)
                text: view.output.folder
            }
            Words {
                id: note

                height: parent.height
                text: view.output.folderNote
                font.weight: Font.Bold
            }
        }
        Row {
            anchors.right: parent.right
            anchors.rightMargin: Measures.sidePadding
            anchors.verticalCenter: parent.verticalCenter
            spacing: Measures.controlGap

            FlatInlineButton {
                text: view.output.showTitle
                enabled: view.output.isShowEnabled
                onClicked: view.output.showFolder()
            }
            FlatInlineButton {
                text: view.output.chooseTitle
                onClicked: view.output.chooseFolder()
            }
        }
    }
}
