pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vintra

// How far something has come. What isn't known moves.
T.ProgressBar {
    id: bar

    required property string name

    implicitHeight: Measures.meterHeight
    Accessible.name: name

    contentItem: Item {
        clip: true

        Rectangle {
            id: part

            property real place

            x: bar.indeterminate ? place * (parent.width - width) : 0
            width: bar.indeterminate ? parent.width / 4 : parent.width * bar.position
            height: parent.height
            radius: height / 2
            color: DesignColor.accent

            SequentialAnimation on place {
                running: bar.indeterminate && bar.visible
                loops: Animation.Infinite

                NumberAnimation {
                    to: 1
                    duration: 1200
                    easing.type: Easing.InOutQuad
                }
                NumberAnimation {
                    to: 0
                    duration: 1200
                    easing.type: Easing.InOutQuad
                }
            }
        }
    }
    background: Rectangle {
        radius: height / 2
        color: DesignColor.groundDivider
    }
}
