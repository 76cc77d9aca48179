pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// A command in a menu.
T.MenuItem {
    id: command

    implicitHeight: Measures.menuItem
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    leftPadding: Measures.textPadding
    rightPadding: Measures.textPadding
    opacity: enabled ? 1 : Measures.disabledOpacity
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.onPressAction: {
        command.menu.dismiss();
        command.triggered();
    }

    contentItem: Words {
        text: command.text
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Measures.segmentRadius
        color: command.highlighted && command.enabled ? DesignColor.inlineHover : "transparent"
    }
}
