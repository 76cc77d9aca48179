pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// A line of text to be typed.
T.TextField {
    id: field

    required property string name

    implicitWidth: Measures.nameWidth
    implicitHeight: Measures.control
    leftPadding: Measures.textPadding
    rightPadding: Measures.textPadding
    verticalAlignment: TextInput.AlignVCenter
    color: DesignColor.sectionText
    selectionColor: DesignColor.accent
    selectedTextColor: DesignColor.bg
    placeholderTextColor: DesignColor.placeholder
    font.pixelSize: Measures.bodySize
    renderType: Text.NativeRendering
    selectByMouse: true
    maximumLength: 300
    opacity: enabled ? 1 : Measures.disabledOpacity

    Accessible.name: name
    Keys.onEscapePressed: event => {
        event.accepted = focus;
        focus = false;
    }

    Words {
        anchors.fill: parent
        leftPadding: field.leftPadding
        rightPadding: field.rightPadding
        visible: field.text === "" && field.preeditText === ""
        text: field.placeholderText
        color: field.placeholderTextColor
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Measures.controlRadius
        color: DesignColor.sectionFill
        border.width: field.activeFocus ? Measures.focusWidth : Measures.outline
        border.color: field.activeFocus ? DesignColor.sectionText : DesignColor.sectionDivider
    }
}
