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
    FlatButton {
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
