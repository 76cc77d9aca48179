pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A gain in decibels with its two buttons. The arrow keys change it too. No control of Qt's, whose roles can't be chosen.
Item {
    id: field

    required property string name
    required property string title
    required property int decibels
    signal asked(int decibels)

    implicitWidth: Measures.gainWidth
    implicitHeight: Measures.control
    activeFocusOnTab: true
    opacity: enabled ? 1 : Measures.disabledOpacity

    // What a screen reader is told, and may set.
    property real value: decibels
    readonly property real minimumValue: -Measures.gainMost
    readonly property real maximumValue: Measures.gainMost
    readonly property real stepSize: 1
    onValueChanged: {
        if (value === decibels)
            return;
        asked(Math.round(value));
        value = Qt.binding(() => field.decibels);
    }
    Accessible.role: Accessible.SpinBox
    Accessible.focusable: true
    Accessible.name: name
    Accessible.description: title
    Accessible.onIncreaseAction: asked(decibels + 1)
    Accessible.onDecreaseAction: asked(decibels - 1)
    Keys.onUpPressed: asked(decibels + 1)
    Keys.onDownPressed: asked(decibels - 1)

    Rectangle {
        anchors.fill: parent
        radius: Measures.controlRadius
        color: DesignColor.sectionFill
        border.width: Measures.outline
        border.color: DesignColor.sectionDivider
    }
    Words {
        anchors.fill: parent
        text: field.title
        font.pixelSize: Measures.secondarySize
        horizontalAlignment: Text.AlignHCenter
        Accessible.ignored: true
    }
    GainStep {
        text: "\u2212"
        onClicked: field.asked(field.decibels - 1)
    }
    GainStep {
        anchors.right: parent.right
        text: "+"
        onClicked: field.asked(field.decibels + 1)
    }
    FocusRing {
        visible: field.activeFocus
        around: Measures.controlRadius
    }
}
