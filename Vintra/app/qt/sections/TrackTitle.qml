pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The check, the picture and the name at the beginning of a row.
Item {
    id: view

    required property bool isArmed
    required property bool canArm
    required property string title
    required property string image
    property string help
    property bool isTitleShown: true
    property string whyDisabled
    signal asked(bool on)

    implicitWidth: Measures.deviceX
    implicitHeight: Measures.row

    FlatCheckbox {
        x: Measures.checkX
        anchors.verticalCenter: parent.verticalCenter
        isOn: view.isArmed
        enabled: view.canArm
        name: view.title
        help: view.help
        whyDisabled: view.whyDisabled
        onAsked: on => view.asked(on)
    }
    Icon {
        x: Measures.iconX
        anchors.verticalCenter: parent.verticalCenter
        visible: view.image !== ""
        image: view.image || "checkmark"
    }
    Words {
        x: Measures.nameX
        height: parent.height
        visible: view.isTitleShown
        text: view.title
        font.weight: Font.Medium
        color: view.isArmed ? DesignColor.sectionText : DesignColor.sectionSecondary

        HoverHandler {
            id: pointer
            enabled: view.help !== ""
        }
        HelpText {
            text: view.help
            shown: pointer.hovered
        }
    }
}
