pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The licences of what the program includes.
T.ApplicationWindow {
    id: root

    required property AcknowledgementsModel model

    title: model.windowTitle
    color: DesignColor.bg
    font.family: Qt.application.font.family
    width: model.width
    height: model.height
    minimumWidth: model.width
    minimumHeight: model.height / 2

    WindowGround {
        anchors.fill: parent
    }
    ReadingText {
        id: licences

        anchors.fill: parent
        name: root.model.windowTitle
        text: root.model.text
        color: DesignColor.textSecondary
        font.family: root.model.fixedFamily
        font.pixelSize: root.model.textSize
        horizontalPadding: DialogMeasures.licencesMargin
        verticalPadding: DialogMeasures.licencesTop
        Component.onCompleted: root.model.layOut(licences.document)
    }
    Shortcut {
        sequences: ["Escape", "Ctrl+W"]
        onActivated: root.close()
    }
}
