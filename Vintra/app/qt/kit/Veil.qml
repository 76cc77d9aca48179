pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The dark edge behind the controls over a picture.
Rectangle {
    height: Measures.veil
    opacity: Measures.veilOpacity
    gradient: Gradient {
        GradientStop {
            position: 0
            color: "black"
        }
        GradientStop {
            position: 1
            color: "transparent"
        }
    }
}
