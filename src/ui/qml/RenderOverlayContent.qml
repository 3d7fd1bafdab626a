import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Render Mode's figures on the overlay: elapsed time, DaVinci Resolve's job
// and percent, live and peak temperatures and fan speed, the power line.
// Its width is set by whoever places it; its height follows the figures.
ColumnLayout {
    id: content

    required property QtObject render

    focus: true
    Keys.onEscapePressed: content.render.enabled = false
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
        text: content.render.elapsed
        color: "white"
        font.pixelSize: 64
        font.weight: Font.Light
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        textFormat: Text.PlainText
        text: content.render.project
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
        text: content.render.finishedText !== "" ? content.render.finishedText : content.render.progressText
        color: content.render.finishedText !== "" && content.render.finishedComplete ? "#8fe3a3" : "#d7dde3"
        font.pixelSize: 20
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
    }
    ProgressBar {
        visible: content.render.percent >= 0
        from: 0
        to: 100
        value: Math.max(0, content.render.percent)
        Layout.fillWidth: true
    }
    Label {
        textFormat: Text.PlainText
        text: content.render.liveText
        color: "#d7dde3"
        font.pixelSize: 18
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        textFormat: Text.PlainText
        text: content.render.peaksText
        color: "#9aa4ae"
        font.pixelSize: 15
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
    }
    Label {
        textFormat: Text.PlainText
        text: content.render.powerText
        visible: text !== ""
        color: "#9aa4ae"
        font.pixelSize: 15
        Layout.alignment: Qt.AlignHCenter
    }
}
