pragma ComponentBehavior: Bound
import QtQuick
import Vintra

// The top of the main window.
Item {
    id: brand

    required property MainWindowModel window

    implicitHeight: Measures.brandHeight

    Image {
        id: logo

        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/qt/qml/Vintra/icons/" + brand.window.logoImage + ".svg"
        sourceSize: Qt.size(Measures.logo, Measures.logo)
        Accessible.ignored: true
    }
    Column {
        id: names

        anchors.left: logo.right
        anchors.leftMargin: Measures.cardsMargin
        anchors.verticalCenter: parent.verticalCenter

        Words {
            id: title

            height: 24
            text: brand.window.title
            color: DesignColor.text
            font.pixelSize: Measures.titleSize
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Words {
            height: 16
            text: brand.window.subtitle
            color: DesignColor.textSecondary
            font.pixelSize: Measures.secondarySize
        }
    }
    ProgramMenu {
        x: names.x + title.implicitWidth + Measures.controlGap / 2
        y: names.y + (title.height - height) / 2
        commands: brand.window.commands
    }
    FlatButton {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        implicitHeight: Measures.control
        style: DesignColor.Outlined
        image: brand.window.isBugTitlePlain ? brand.window.bugImage : ""
        text: brand.window.bugTitle
        font.pixelSize: Measures.bodySize
        font.weight: Font.Medium
        onClicked: brand.window.openBugReport()
    }
}
