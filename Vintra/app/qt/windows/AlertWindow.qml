pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// A question or a message before which the other windows wait.
T.ApplicationWindow {
    id: root

    required property DialogModel model
    readonly property real shownHeight: Math.ceil(column.height)

    title: model.windowTitle
    color: DesignColor.bg
    font.family: Qt.application.font.family
    flags: Qt.Dialog
    modality: Qt.ApplicationModal
    width: DialogMeasures.dialogWidth
    height: shownHeight
    minimumWidth: width
    maximumWidth: width
    // Not the height itself, which is the server's for a moment after a change.
    minimumHeight: shownHeight
    maximumHeight: shownHeight
    onVisibleChanged: if (visible) buttons.focusDefault()
    // An answer hides it, and may show the next.
    onClosing: close => {
        close.accepted = false;
        model.close();
    }

    WindowGround {
        anchors.fill: parent
    }
    Item {
        anchors.fill: parent
        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.model.title
        Accessible.description: root.model.text

        Column {
            id: column

            x: DialogMeasures.dialogPadding
            width: parent.width - 2 * x
            topPadding: DialogMeasures.dialogPadding
            bottomPadding: DialogMeasures.dialogPadding
            spacing: DialogMeasures.dialogPadding

            DialogTexts {
                width: parent.width
                dialog: root.model
            }
            DialogButtons {
                id: buttons

                width: parent.width
                dialog: root.model
            }
        }
    }
    Shortcut {
        sequences: ["Escape", "Ctrl+W"]
        onActivated: root.close()
    }
}
