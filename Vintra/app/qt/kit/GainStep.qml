pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// A button inside of `GainField`, which has the focus and the name.
T.AbstractButton {
    id: step

    implicitWidth: Measures.gainButton
    implicitHeight: Measures.control
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    autoRepeat: true
    Accessible.ignored: true

    contentItem: Words {
        text: step.text
        font.pixelSize: Measures.labelSize
        font.weight: Font.Medium
        horizontalAlignment: Text.AlignHCenter
        color: step.hovered ? DesignColor.sectionText : DesignColor.sectionSecondary
        Accessible.ignored: true
    }
}
