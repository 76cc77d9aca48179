pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The panel of the tray item.
T.ApplicationWindow {
    id: root

    required property PanelModel model

    title: root.model.openTitle
    color: "transparent"
    font.family: Qt.application.font.family
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: Measures.panelWidth
    height: column.height

    WindowGround {
        anchors.fill: parent
        radius: Measures.panelRadius
    }
    Rectangle {
        anchors.fill: parent
        radius: Measures.panelRadius
        color: "transparent"
        border.width: Measures.outline
        border.color: DesignColor.groundDivider
    }
    Column {
        id: column

        width: parent.width
        topPadding: Measures.panelPadding
        bottomPadding: Measures.panelPadding

        Item {
            x: Measures.panelPadding
            width: parent.width - 2 * x
            height: Measures.panelStatus

            Dot {
                id: dot

                anchors.verticalCenter: parent.verticalCenter
                color: root.model.status.isRecording ? DesignColor.accent : DesignColor.neutral500
            }
            Words {
                anchors.left: dot.right
                anchors.leftMargin: Measures.controlGap
                height: parent.height
                text: root.model.status.text
                color: DesignColor.text
                font.weight: Font.Medium
            }
            TimeText {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                visible: root.model.status.time !== ""
                text: root.model.status.time
                size: Measures.buttonSize
            }
        }
        Item {
            width: 1
            height: Measures.dotGap
        }
        FlatButton {
            x: Measures.panelPadding
            width: parent.width - 2 * x
            implicitHeight: Measures.panelButton
            enabled: root.model.recordButton.isEnabled
            style: root.model.recordButton.style
            text: root.model.recordButton.title
            focus: true
            onClicked: root.model.recordButton.press()
        }
        PanelDivider {
            visible: root.model.updateTitle !== ""
        }
        PanelLine {
            visible: root.model.updateTitle !== ""
            text: root.model.updateTitle
            detail: root.model.updateDetail
            titleColor: DesignColor.accent
            onClicked: root.model.showUpdate()
        }
        PanelDivider {}
        PanelLine {
            text: root.model.openTitle
            onClicked: root.model.openMainWindow()
        }
        PanelLine {
            text: root.model.quitTitle
            titleColor: DesignColor.textQuit
            onClicked: root.model.quit()
        }
    }
    Shortcut {
        sequence: "Escape"
        onActivated: root.hide()
    }
}
