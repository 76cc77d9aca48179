pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A box that shows `isOn`. A press asks for the other state; who owns the state decides.
FlatAction {
    id: box

    required property bool isOn
    signal asked(bool on)

    cornerRadius: Measures.checkboxRadius
    implicitWidth: Measures.checkbox
    implicitHeight: Measures.checkbox
    // For screen readers, which are told a button's own state.
    checkable: true
    checked: isOn
    onCheckedChanged: {
        if (checked !== isOn)
            checked = Qt.binding(() => box.isOn);
    }
    onClicked: asked(!isOn)

    Accessible.onToggleAction: box.clicked()

    // The ground lies under the outline, which lets it through.
    background: Rectangle {
        radius: box.cornerRadius
        color: box.isOn ? DesignColor.accent : (box.isOnGround ? "transparent" : DesignColor.sectionFill)

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: "transparent"
            border.width: Measures.checkboxStroke
            border.color: box.isOnGround ? DesignColor.divider : DesignColor.sectionDivider
        }
    }
    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            image: "checkmark"
            side: Measures.checkmark
            visible: box.isOn
            color: DesignColor.bg
        }
    }
}
