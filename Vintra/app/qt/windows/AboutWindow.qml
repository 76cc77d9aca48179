pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The panel about the program.
T.ApplicationWindow {
    id: root

    required property AboutModel model
    readonly property real shownHeight: Math.ceil(column.height)

    title: model.windowTitle
    color: DesignColor.bg
    font.family: Qt.application.font.family
    flags: Qt.Dialog
    width: DialogMeasures.aboutWidth
    height: shownHeight
    minimumWidth: width
    maximumWidth: width
    // Not the height itself, which is the server's for a moment after a change.
    minimumHeight: shownHeight
    maximumHeight: shownHeight

    WindowGround {
        anchors.fill: parent
    }
    Column {
        id: column

        x: DialogMeasures.dialogPadding
        width: parent.width - 2 * x
        topPadding: DialogMeasures.dialogPadding
        bottomPadding: DialogMeasures.dialogPadding
        spacing: Measures.controlGap

        Image {
            anchors.horizontalCenter: parent.horizontalCenter
            source: "qrc:/qt/qml/Vintra/icons/" + root.model.logoImage + ".svg"
            sourceSize: Qt.size(DialogMeasures.aboutLogo, DialogMeasures.aboutLogo)
            Accessible.ignored: true
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.model.name
            color: DesignColor.text
            font.pixelSize: Measures.titleSize
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.model.version
            color: DesignColor.text
            font.pixelSize: Measures.secondarySize
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.model.credits
            color: DesignColor.textSecondary
            font.pixelSize: root.model.creditsSize
            wrapMode: Text.Wrap
        }
    }
    Shortcut {
        sequences: ["Escape", "Ctrl+W"]
        onActivated: root.close()
    }
}
