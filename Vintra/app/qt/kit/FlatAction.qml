pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// What all buttons of the kit share: their name, the keys that press them, the ring of the keyboard's focus.
T.AbstractButton {
    id: action

    property string name: text
    property string help
    property string whyDisabled // told to those who don't see it
    property real cornerRadius: Measures.controlRadius
    property bool isOnGround // it stands on the dark ground

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : Measures.disabledOpacity
    font.pixelSize: Measures.bodySize

    Accessible.name: name
    Accessible.description: enabled ? help : "Not available now. " + whyDisabled
    Accessible.onPressAction: action.clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    FocusRing {
        visible: action.visualFocus
        around: action.cornerRadius
        border.color: action.isOnGround ? DesignColor.accent : DesignColor.sectionText
    }
    HelpText {
        text: action.help
        shown: action.hovered
    }
}
