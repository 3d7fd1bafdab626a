import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The dim full-screen layer Render Mode shows on every screen: elapsed time,
// DaVinci Resolve's job and percent, live and peak temperatures and fan
// speed, the power line, and an exit that switches Render Mode off (Esc too).
Rectangle {
    id: overlay

    required property QtObject render

    color: "#e6101214"
    focus: true
    Keys.onEscapePressed: overlay.render.enabled = false

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 640)
        spacing: 14

        Label {
            textFormat: Text.PlainText
            text: qsTr("Render Mode")
            color: "#9aa4ae"
            font.pixelSize: 18
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            textFormat: Text.PlainText
            objectName: "overlayElapsed"
            text: overlay.render.elapsed
            color: "white"
            font.pixelSize: 64
            font.weight: Font.Light
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            textFormat: Text.PlainText
            text: overlay.render.project
            visible: text !== ""
            color: "white"
            font.pixelSize: 22
            elide: Text.ElideMiddle
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
        }
        Label {
            textFormat: Text.PlainText
            objectName: "overlayProgress"
            text: overlay.render.finishedText !== "" ? overlay.render.finishedText : overlay.render.progressText
            color: overlay.render.finishedText !== "" && overlay.render.finishedComplete ? "#8fe3a3" : "#d7dde3"
            font.pixelSize: 20
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
        }
        ProgressBar {
            visible: overlay.render.percent >= 0
            from: 0
            to: 100
            value: Math.max(0, overlay.render.percent)
            Layout.fillWidth: true
        }
        Label {
            textFormat: Text.PlainText
            text: overlay.render.liveText
            color: "#d7dde3"
            font.pixelSize: 18
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            textFormat: Text.PlainText
            text: overlay.render.peaksText
            color: "#9aa4ae"
            font.pixelSize: 15
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
        }
        Label {
            textFormat: Text.PlainText
            text: overlay.render.powerText
            visible: text !== ""
            color: "#9aa4ae"
            font.pixelSize: 15
            Layout.alignment: Qt.AlignHCenter
        }
    }

    // The way out stays in one place on every screen, whatever the figures above show.
    Button {
        objectName: "overlayExit"
        text: qsTr("Exit Render Mode")
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 64
        // About 40 px tall: a target that is easy to hit on a dimmed screen.
        font.pixelSize: 16
        padding: 12
        onClicked: overlay.render.enabled = false
    }
}
