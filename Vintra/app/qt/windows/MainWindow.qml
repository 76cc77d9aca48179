pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// The one window of the program. It is as high as its content, or as the screen allows: then what lies between the
// brand row and the footer scrolls.
T.ApplicationWindow {
    id: root

    required property MainWindowModel model
    readonly property real fixedHeight: 2 * Measures.topMargin + Measures.brandHeight + Measures.labelMargin
                                        + Measures.footerHeight
    readonly property real wantedHeight: fixedHeight + Math.ceil(column.height)
    readonly property real shownHeight: Math.min(wantedHeight,
                                                 Math.max(model.heightLimit, fixedHeight + Measures.row))

    title: model.windowTitle
    font.family: Qt.application.font.family
    color: DesignColor.bg
    width: Measures.windowWidth
    height: shownHeight
    minimumWidth: width
    maximumWidth: width
    // Not the height itself, which is the server's for a moment after a change: it would hold the window there.
    minimumHeight: shownHeight
    maximumHeight: shownHeight
    onActiveFocusItemChanged: scroller.reveal(activeFocusItem)

    WindowGround {
        anchors.fill: parent
    }
    BrandRow {
        x: Measures.sideMargin
        y: Measures.topMargin
        width: Measures.sectionWidth
        window: root.model
    }
    Flickable {
        id: scroller

        y: Measures.topMargin + Measures.brandHeight
        width: parent.width
        height: parent.height - root.fixedHeight
        contentHeight: column.height
        readonly property bool isNeeded: contentHeight > height + 1

        clip: isNeeded
        interactive: isNeeded
        boundsBehavior: Flickable.StopAtBounds

        function reveal(item: Item) {
            if (!item || !interactive)
                return;
            const top = item.mapToItem(column, 0, 0).y - Measures.controlGap;
            const bottom = top + item.height + 2 * Measures.controlGap;
            if (top < 0 || bottom > column.height + 2 * Measures.controlGap)
                return;
            contentY = Math.max(0, Math.min(top, Math.max(contentY, bottom - height)));
        }

        Column {
            id: column

            x: Measures.sideMargin
            width: Measures.sectionWidth
            topPadding: Measures.cardsMargin

            Column {
                width: parent.width
                spacing: Measures.cardGap

                Repeater {
                    model: root.model.cards
                    delegate: CardView {
                        width: column.width
                    }
                }
                StatusStripView {
                    width: parent.width
                    strip: root.model.statusStrip
                }
            }
            Item {
                width: 1
                height: Measures.labelMargin
            }
            SectionLabel {
                text: root.model.tracksTitle
            }
            Item {
                width: 1
                height: Measures.labelGap
            }
            TracksSectionView {
                width: parent.width
                tracks: root.model.tracks
            }
            Item {
                width: 1
                height: Measures.labelMargin
            }
            SectionLabel {
                text: root.model.output.title
            }
            Item {
                width: 1
                height: Measures.labelGap
            }
            OutputSectionView {
                width: parent.width
                output: root.model.output
            }
        }
        T.ScrollBar.vertical: FlatScrollBar {
            visible: scroller.isNeeded
        }
    }
    Footer {
        x: Measures.sideMargin
        y: parent.height - Measures.topMargin - height
        width: Measures.sectionWidth
        window: root.model
    }

    Shortcut {
        sequence: "Ctrl+R"
        context: Qt.ApplicationShortcut
        onActivated: root.model.recordButton.press()
    }
    Shortcut {
        sequence: "Ctrl+O"
        onActivated: root.model.output.chooseFolder()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.model.quit()
    }
    Shortcut {
        sequence: "Ctrl+W"
        onActivated: root.close()
    }
}
