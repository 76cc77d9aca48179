pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The window in which a camera is seen.
T.ApplicationWindow {
    id: root

    required property PreviewModel model
    property real widthBefore

    title: root.model.previewOnly
    color: "black"
    font.family: Qt.application.font.family
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.WindowDoesNotAcceptFocus

    // What is over the picture belongs to it, so that the pointer stays in it above a button.
    CameraPicture {
        anchors.fill: parent
        feed: root.model.feed

        HoverHandler {
            id: pointer
            onHoveredChanged: root.model.setHovering(hovered)
        }
        DragHandler {
            target: null
            onActiveChanged: if (active) root.model.move()
        }
        HelpText {
            text: root.model.help
            isInMiddle: true
            shown: pointer.hovered && !close.hovered
        }
        Item {
            anchors.fill: parent
            visible: root.model.showsControls

            Veil {
                width: parent.width
            }
            Veil {
                width: parent.width
                anchors.bottom: parent.bottom
                rotation: 180
            }
            PreviewClose {
                id: close

                x: Measures.previewInset
                y: Measures.previewInset
                image: root.model.closeImage
                help: root.model.closeHelp
                onClicked: root.model.close()
            }
            Row {
                anchors.right: parent.right
                anchors.top: parent.top
                anchors.margins: Measures.previewInset
                spacing: Measures.pillGap

                Repeater {
                    model: root.model.pills
                    delegate: PreviewPill {
                        required property int index
                        required property string modelData

                        text: modelData
                        name: root.model.pillNames[index] ?? ""
                        isChosen: index === root.model.chosenPill
                        onClicked: root.model.pick(index)
                    }
                }
            }
            PreviewTag {
                x: Measures.previewInset
                anchors.bottom: parent.bottom
                anchors.bottomMargin: Measures.previewInset
                visible: root.model.showsPreviewOnly
                text: root.model.previewOnly
            }
            ResizeGrip {
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: Measures.gripInset
                onBegun: root.widthBefore = root.width
                onDragged: by => root.model.resizeTo(root.widthBefore + by)
            }
        }
    }
}
