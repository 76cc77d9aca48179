pragma Singleton
import QtQml

// The measures of the windows about the program itself, in points.
QtObject {
    readonly property real dialogWidth: 480
    readonly property real dialogPadding: 20
    readonly property real dialogGap: 12
    readonly property real dialogLine: 18
    readonly property real notesHeight: 180
    readonly property real notesPadding: 12
    readonly property real aboutWidth: 320
    readonly property real aboutLogo: 64
    readonly property real licencesMargin: 28
    readonly property real licencesTop: 24
    readonly property real scrollStep: 48
    readonly property real programMenu: 190
    readonly property real programMenuButton: 24
}
