pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// One of the sizes of a camera's window.
FlatAction {
    id: pill

    required property bool isChosen

    focusPolicy: Qt.NoFocus
    cornerRadius: Measures.previewControl / 2
    horizontalPadding: Measures.pillPadding
    implicitWidth: Math.max(Measures.pillWidth, implicitContentWidth + 2 * horizontalPadding)
    implicitHeight: Measures.previewControl
    font.pixelSize: Measures.pillSize
    font.weight: Font.Bold
    Accessible.role: Accessible.RadioButton
    Accessible.checkable: true
    Accessible.checked: isChosen

    contentItem: Words {
        text: pill.text
        font: pill.font
        horizontalAlignment: Text.AlignHCenter
        color: pill.isChosen ? DesignColor.bg : DesignColor.text
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: pill.cornerRadius
        color: pill.isChosen ? DesignColor.accent
                             : (pill.hovered ? DesignColor.surface : DesignColor.previewFill)
    }
}
