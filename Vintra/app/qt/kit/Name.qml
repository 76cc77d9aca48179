pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// A name or path that may be too long: it elides in the middle, and all of it is the help text.
Words {
    id: name

    elide: Text.ElideMiddle

    HoverHandler {
        id: pointer
        enabled: name.truncated
    }
    HelpText {
        text: name.text
        shown: pointer.hovered && name.truncated
    }
}
