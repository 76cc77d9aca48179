pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// One choice of `FlatSegmented`.
T.RadioButton {
    id: segment

    required property bool isChosen
    required property bool isTabStop
    property string name
    property string help
    signal moved(int by)

    horizontalPadding: Measures.segmentPadding
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    activeFocusOnTab: isTabStop
    font.pixelSize: Measures.secondarySize
    font.weight: Font.Medium

    // For screen readers, which are told a button's own state.
    autoExclusive: false
    checked: isChosen
    onCheckedChanged: {
        if (checked !== isChosen)
            checked = Qt.binding(() => segment.isChosen);
    }

    Accessible.name: name
    Accessible.description: help
    Accessible.onPressAction: segment.clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onLeftPressed: moved(-1)
    Keys.onRightPressed: moved(1)

    contentItem: Words {
        text: segment.text
        font: segment.font
        horizontalAlignment: Text.AlignHCenter
        color: segment.isChosen || segment.hovered ? DesignColor.sectionText : DesignColor.sectionSecondary
        Accessible.ignored: true
    }
    background: Item {
        Rectangle {
            anchors.fill: parent
            anchors.margins: segment.isChosen ? -Measures.outline : 0
            radius: Measures.segmentRadius + (segment.isChosen ? Measures.outline : 0)
            color: segment.isChosen ? DesignColor.sectionFill
                                    : (segment.hovered ? DesignColor.segmentedFill : "transparent")
            border.width: segment.isChosen ? Measures.outline : 0
            border.color: DesignColor.sectionDivider
        }
    }
    HelpText {
        text: segment.help
        shown: segment.hovered
    }
}
