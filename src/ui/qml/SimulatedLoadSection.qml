import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Demo mode only: the simulated Mac's CPU load, to heat it up and watch the
// cooling react.
ColumnLayout {
    id: section

    required property QtObject load

    objectName: "simulatedLoad"
    spacing: 2
    Layout.fillWidth: true
    Layout.leftMargin: 12
    Layout.rightMargin: 12
    Layout.bottomMargin: 8

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: "#888"
        opacity: 0.4
        Layout.bottomMargin: 4
    }
    RowLayout {
        Layout.fillWidth: true
        Label {
            textFormat: Text.PlainText
            text: qsTr("Simulated load")
            font.bold: true
        }
        Slider {
            id: slider
            objectName: "loadSlider"
            from: 0
            to: 100
            stepSize: 10
            value: section.load ? section.load.percent : 0
            Layout.fillWidth: true
            onMoved: if (section.load) section.load.percent = value
        }
        Label {
            textFormat: Text.PlainText
            text: Math.round(slider.value) + " %"
            Layout.preferredWidth: 44
            horizontalAlignment: Text.AlignRight
        }
    }
    Caption {
        text: qsTr("Demo: heats the simulated Mac, so the fans have something to do.")
    }
    Caption {
        text: section.load ? section.load.problem : ""
        visible: text !== ""
        color: "#c0392b"
    }
}
