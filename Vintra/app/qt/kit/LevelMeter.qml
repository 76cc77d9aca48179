pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A track's level.
Item {
    id: view

    required property MeterModel meter
    required property string name

    implicitWidth: Measures.meterWidth
    implicitHeight: Measures.meterHeight
    // A slider that can't be moved: of a progress bar no value is told.
    readonly property real value: meter.decibels
    readonly property real minimumValue: Measures.meterQuietest
    readonly property real maximumValue: 0
    readonly property real stepSize: 1
    Accessible.role: Accessible.Slider
    Accessible.name: name + ", level"
    Accessible.readOnly: true

    Rectangle {
        width: Measures.meterGreenWidth
        height: parent.height
        color: DesignColor.meterGreen
        opacity: Measures.meterGreenOpacity
    }
    Rectangle {
        x: Measures.meterGreenWidth
        width: Measures.meterYellowWidth
        height: parent.height
        color: DesignColor.meterYellow
        opacity: Measures.meterYellowOpacity
    }
    Rectangle {
        x: Measures.meterGreenWidth + Measures.meterYellowWidth
        width: Measures.meterRedWidth
        height: parent.height
        color: DesignColor.meterRed
        opacity: Measures.meterRedOpacity
    }
    Rectangle {
        width: view.meter.barWidth
        height: parent.height
        color: view.meter.barColor
    }
    Rectangle {
        visible: view.meter.hasTick
        x: view.meter.tickX
        width: Measures.meterTick
        height: parent.height
        color: DesignColor.meterTick
    }
}
