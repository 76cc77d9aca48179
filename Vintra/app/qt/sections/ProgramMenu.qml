pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The commands about the program itself, behind its name.
FlatAction {
    id: button

    required property AppCommandsModel commands

    name: commands.menuTitle
    isOnGround: true
    implicitWidth: DialogMeasures.programMenuButton
    implicitHeight: DialogMeasures.programMenuButton
    Keys.onDownPressed: menu.open()
    onClicked: menu.visible ? menu.close() : menu.open()

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            image: "chevron"
            side: Measures.chevron
            color: DesignColor.text
        }
    }
    background: Rectangle {
        radius: button.cornerRadius
        color: button.hovered || menu.visible ? DesignColor.groundHover : "transparent"
    }

    T.Menu {
        id: menu

        y: button.height + Measures.controlGap / 2
        width: DialogMeasures.programMenu
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        padding: Measures.menuPadding
        margins: Measures.controlGap
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

        contentItem: ListView {
            implicitHeight: contentHeight
            model: menu.contentModel
            interactive: false
            currentIndex: menu.currentIndex
        }
        background: Rectangle {
            radius: Measures.controlRadius
            color: DesignColor.sectionFill
            border.width: Measures.outline
            border.color: DesignColor.sectionDivider
        }

        FlatCommand {
            text: button.commands.aboutTitle
            onTriggered: button.commands.showAbout()
        }
        FlatCommand {
            text: button.commands.acknowledgementsTitle
            onTriggered: button.commands.showAcknowledgements()
        }
        T.MenuSeparator {
            implicitHeight: 2 * Measures.menuPadding + Measures.divider
            verticalPadding: Measures.menuPadding
            contentItem: Rectangle {
                implicitHeight: Measures.divider
                color: DesignColor.sectionRowDivider
            }
        }
        FlatCommand {
            text: button.commands.checkTitle
            enabled: button.commands.canCheckForUpdates
            onTriggered: button.commands.checkForUpdates()
        }
        FlatCommand {
            text: button.commands.removeTitle
            enabled: button.commands.canRemove
            onTriggered: button.commands.remove()
        }
    }
    Shortcut {
        sequence: "F10"
        onActivated: menu.open()
    }
}
