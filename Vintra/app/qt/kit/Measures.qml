pragma Singleton
import QtQml

// Every measure of the windows, in points.
QtObject {
    // Window
    readonly property real windowWidth: 744
    readonly property real sideMargin: 20
    readonly property real topMargin: 16
    readonly property real brandHeight: 44
    readonly property real logo: 40
    readonly property real footerHeight: 44
    readonly property real cardsMargin: 12
    readonly property real labelMargin: 16
    readonly property real labelGap: 8

    // Section cards
    readonly property real sectionWidth: 704
    readonly property real sectionRadius: 12
    readonly property real sidePadding: 28
    readonly property real divider: 1
    readonly property real groupPadding: 2
    readonly property real outerGroupPadding: 4
    readonly property real subRowsPadding: 8
    readonly property real row: 44
    readonly property real subRow: 36
    readonly property real checkRow: 32
    readonly property real messageRow: 22
    readonly property real messageLine: 16
    readonly property real messageGap: 4
    readonly property real linkRow: 26
    readonly property real linkTop: 1
    readonly property real linkRowAlone: 36

    // Columns of a section card, from its left edge
    readonly property real checkX: 28
    readonly property real iconX: 56
    readonly property real nameX: 86
    readonly property real deviceX: 222
    readonly property real channelX: 388
    readonly property real gainX: 464
    readonly property real meterX: 556
    readonly property real markX: 680
    readonly property real nameWidth: 128
    readonly property real deviceWidth: 234
    readonly property real deviceBesideChannelWidth: 158
    readonly property real channelWidth: 68
    readonly property real gainWidth: 80
    readonly property real resolutionWidth: 84
    readonly property real previewButtonWidth: 120
    readonly property real displayMenuWidth: 190
    readonly property real modesWidth: 256
    readonly property real messageWidth: 590
    readonly property real timelineLabelX: 480
    readonly property real timelineX: 564
    readonly property real timelineWidth: 112
    readonly property real folderTextX: 56
    readonly property real folderTextWidth: 376

    // Controls
    readonly property real control: 32
    readonly property real controlRadius: 8
    readonly property real controlGap: 8
    readonly property real textPadding: 11 // with the outline
    readonly property real outline: 1
    readonly property real disabledOpacity: 0.5
    readonly property real focusWidth: 2
    readonly property real focusDistance: 2
    readonly property real checkbox: 18
    readonly property real checkboxStroke: 1.5
    readonly property real checkboxRadius: 5
    readonly property real checkmark: 11
    readonly property real chevron: 10
    readonly property real chevronMargin: 8
    readonly property real chevronOpacity: 0.72
    readonly property real icon: 20
    readonly property real buttonPadding: 16
    readonly property real buttonRadius: 12
    readonly property real footerButtonWidth: 212
    readonly property real buttonIcon: 16
    readonly property real inlinePadding: 16
    readonly property real cardButtonPadding: 10
    readonly property real cardButtonVerticalPadding: 4
    readonly property real cardButtonRadius: 5
    readonly property real cardButtonHeight: 22
    readonly property real segmentedPadding: 2
    readonly property real segmentedSpacing: 2
    readonly property real segmentedRadius: 7
    readonly property real segmentRadius: 5
    readonly property real segmentPadding: 6
    readonly property real gainButton: 22
    readonly property real gainMost: 60 // dB
    readonly property real mark: 20
    readonly property real markIcon: 10
    readonly property real linkRadius: 4
    readonly property real linkUnderline: 3
    readonly property real dot: 8
    readonly property real dotGap: 10
    readonly property real meterWidth: 120
    readonly property real meterHeight: 8
    readonly property real meterTick: 2
    readonly property real meterWarning: 16
    readonly property real meterGreenWidth: 102
    readonly property real meterYellowWidth: 14.4
    readonly property real meterRedWidth: 3.6
    readonly property real meterGreenOpacity: 0.18
    readonly property real meterYellowOpacity: 0.2
    readonly property real meterRedOpacity: 0.22
    readonly property real meterQuietest: -60 // dB
    readonly property real menuItem: 28
    readonly property real menuPadding: 4
    readonly property real tagHorizontalPadding: 8
    readonly property real tagVerticalPadding: 3
    readonly property real scrollBar: 6
    readonly property real helpWidth: 300
    readonly property int helpDelay: 600

    // Cards
    readonly property real cardGap: 8
    readonly property real cardHorizontalPadding: 16
    readonly property real cardVerticalPadding: 12
    readonly property real cardTextWidth: 640
    readonly property real cardTextTop: 2
    readonly property real cardButtonsTop: 8
    readonly property real cardMark: 10
    readonly property real status: 36
    readonly property real statusRight: 7

    // Tray panel
    readonly property real panelWidth: 268
    readonly property real panelPadding: 14
    readonly property real panelRadius: 12
    readonly property real panelStatus: 20
    readonly property real panelButton: 40
    readonly property real panelLine: 32
    readonly property real panelLinePadding: 8
    readonly property real panelLineRadius: 6

    // A camera's window
    readonly property real previewInset: 8
    readonly property real previewControl: 20
    readonly property real previewCloseIcon: 9
    readonly property real pillWidth: 24
    readonly property real pillPadding: 7
    readonly property real pillGap: 4
    readonly property real previewTag: 18
    readonly property real grip: 14
    readonly property real gripInset: 4
    readonly property real veil: 44
    readonly property real veilOpacity: 0.45

    // Text sizes
    readonly property real timeSize: 22
    readonly property real titleSize: 20
    readonly property real buttonSize: 15
    readonly property real labelSize: 14
    readonly property real labelSpacing: 1.1
    readonly property real bodySize: 13
    readonly property real secondarySize: 12
    readonly property real cardButtonSize: 11
    readonly property real tagSize: 10
    readonly property real tagSpacing: 0.4
    readonly property real pillSize: 10
    readonly property real previewTagSize: 9
    readonly property real cardLine: 17
    readonly property real finePrintLine: 15
}
