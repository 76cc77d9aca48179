pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The corner by which a window is resized.
Item {
    id: grip

    signal begun
    signal dragged(real by) // since it has begun

    implicitWidth: Measures.grip
    implicitHeight: Measures.grip

    Icon {
        anchors.fill: parent
        image: "grip"
        side: Measures.grip
        color: DesignColor.text
    }
    HoverHandler {
        cursorShape: Qt.SizeFDiagCursor
    }
    DragHandler {
        target: null
        cursorShape: Qt.SizeFDiagCursor
        grabPermissions: PointerHandler.CanTakeOverFromAnything
        onActiveChanged: if (active) grip.begun()
        onTranslationChanged: if (active) grip.dragged(translation.x)
    }
}
