import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The temperatures, with the thermal-pressure badge beside them when the
// system is under pressure.
RowLayout {
    required property QtObject fanView

    spacing: 8
    Layout.fillWidth: true
    Layout.leftMargin: 12
    Layout.rightMargin: 12
    Layout.bottomMargin: 6

    Label {
        textFormat: Text.PlainText
        objectName: "temperatures"
        text: fanView.temperatures
        Layout.fillWidth: true
    }
    Rectangle {
        objectName: "badge"
        visible: fanView.badgeVisible
        color: fanView.badgeColor
        radius: height / 2
        implicitWidth: badgeText.implicitWidth + 14
        implicitHeight: badgeText.implicitHeight + 4
        Label {
            textFormat: Text.PlainText
            id: badgeText
            objectName: "badgeText"
            anchors.centerIn: parent
            text: fanView.badgeText
            color: "white"
            font.bold: true
            font.pixelSize: 11
        }
    }
}
