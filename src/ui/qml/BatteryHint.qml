import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The battery's charge and where its power goes; hidden without a battery.
Label {
    textFormat: Text.PlainText
    required property QtObject panel

    objectName: "batteryHint"
    text: panel.batteryHint
    visible: text !== ""
    wrapMode: Text.WordWrap
    font.pixelSize: 12
    Layout.fillWidth: true
    Layout.leftMargin: 12
    Layout.rightMargin: 12
    Layout.bottomMargin: 6
}
