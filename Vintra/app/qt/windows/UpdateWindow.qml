pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// An update: what is new in it, and what becomes of it.
T.ApplicationWindow {
    id: root

    required property UpdateModel model
    readonly property real shownHeight: Math.ceil(column.height)

    title: model.windowTitle
    color: DesignColor.bg
    font.family: Qt.application.font.family
    width: DialogMeasures.dialogWidth
    height: shownHeight
    minimumWidth: width
    maximumWidth: width
    // Not the height itself, which is the server's for a moment after a change.
    minimumHeight: shownHeight
    maximumHeight: shownHeight
    onVisibleChanged: if (visible) buttons.focusDefault()
    onClosing: model.close()

    WindowGround {
        anchors.fill: parent
    }
    Column {
        id: column

        x: DialogMeasures.dialogPadding
        width: parent.width - 2 * x
        topPadding: DialogMeasures.dialogPadding
        bottomPadding: DialogMeasures.dialogPadding
        spacing: DialogMeasures.dialogGap

        DialogTexts {
            width: parent.width
            dialog: root.model
        }
        Rectangle {
            width: parent.width
            height: DialogMeasures.notesHeight
            radius: Measures.sectionRadius
            visible: root.model.releaseNotes !== ""
            color: DesignColor.surface
            border.width: notes.hasFocus ? Measures.focusWidth : 0
            border.color: DesignColor.accent

            ReadingText {
                id: notes

                anchors.fill: parent
                anchors.margins: Measures.focusWidth
                name: "What is new"
                text: root.model.releaseNotes
                horizontalPadding: DialogMeasures.notesPadding
                verticalPadding: DialogMeasures.notesPadding
            }
        }
        FlatProgress {
            width: parent.width
            visible: root.model.hasProgress
            name: root.model.title
            indeterminate: root.model.isIndeterminate
            value: root.model.fraction
        }
        DialogButtons {
            id: buttons

            width: parent.width
            visible: root.model.buttons.length > 0
            topPadding: Measures.controlGap
            dialog: root.model
        }
    }
    Shortcut {
        sequences: ["Escape", "Ctrl+W"]
        onActivated: root.close()
    }
}
