pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// How the recorder stands, and the one button.
Item {
    id: footer

    required property MainWindowModel window

    implicitHeight: Measures.footerHeight

    Row {
        height: parent.height
        spacing: Measures.dotGap

        Dot {
            anchors.verticalCenter: parent.verticalCenter
            color: footer.window.status.isRecording ? DesignColor.accent : DesignColor.neutral500
        }
        Words {
            height: parent.height
            text: footer.window.status.text
            color: DesignColor.text
            font.weight: Font.Medium
        }
        TimeText {
            anchors.verticalCenter: parent.verticalCenter
            leftPadding: 2
            visible: footer.window.status.time !== ""
            text: footer.window.status.time
        }
        Words {
            height: parent.height
            visible: text !== ""
            text: footer.window.closingNote
            color: DesignColor.textSecondary
            font.pixelSize: Measures.secondarySize
        }
    }
    Item {
        id: choice

        anchors.right: button.left
        anchors.rightMargin: Measures.sideMargin
        width: check.width + Measures.controlGap + words.implicitWidth
        height: parent.height
        visible: footer.window.isInPicture

        FlatCheckbox {
            id: check

            anchors.verticalCenter: parent.verticalCenter
            isOn: footer.window.minimizes
            isOnGround: true
            name: words.text
            help: footer.window.inPictureHelp
            onAsked: on => footer.window.minimizes = on
        }
        Words {
            id: words

            x: check.width + Measures.controlGap
            height: parent.height
            text: footer.window.minimizesTitle
            color: DesignColor.textSecondary
            font.pixelSize: Measures.secondarySize
            Accessible.ignored: true

            TapHandler {
                onTapped: footer.window.minimizes = !footer.window.minimizes
            }
            HoverHandler {
                id: pointer
            }
            HelpText {
                text: footer.window.inPictureHelp
                shown: pointer.hovered
            }
        }
    }
    FlatButton {
        id: button

        objectName: "recordButton"
        anchors.right: parent.right
        width: Measures.footerButtonWidth
        enabled: footer.window.recordButton.isEnabled
        style: footer.window.recordButton.style
        text: footer.window.recordButton.title
        help: footer.window.markerHelp
        onClicked: footer.window.recordButton.press()
    }
}
