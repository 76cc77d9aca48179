pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The buttons of a window that asks for a decision, the default one at the end of the line and with the focus.
Row {
    id: row

    required property DialogModel dialog

    function focusDefault() {
        if (dialog.hasDefault && buttons.count > 0)
            buttons.itemAt(0).forceActiveFocus();
    }

    layoutDirection: Qt.RightToLeft
    spacing: Measures.controlGap

    Repeater {
        id: buttons

        model: row.dialog.buttons
        delegate: FlatButton {
            required property int index
            required property string modelData

            implicitHeight: Measures.control
            style: row.dialog.style(index)
            text: modelData
            font.pixelSize: Measures.bodySize
            font.weight: Font.Medium
            onClicked: row.dialog.press(index)
        }
        onItemAdded: index => {
            if (index === 0)
                row.focusDefault();
        }
    }
}
