import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Asked until answered once: should the app start at login?
ColumnLayout {
    id: prompt

    required property QtObject panel

    objectName: "loginPrompt"
    visible: !panel.loginChoiceMade
    spacing: 4
    Layout.fillWidth: true
    Layout.leftMargin: 12
    Layout.rightMargin: 12
    Layout.bottomMargin: 8

    Label {
        textFormat: Text.PlainText
        text: qsTr("Start Quillon automatically at login?")
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
    }
    RowLayout {
        Button {
            objectName: "loginYes"
            text: qsTr("Yes")
            highlighted: true
            onClicked: prompt.panel.answerLoginPrompt(true)
        }
        Button {
            objectName: "loginNo"
            text: qsTr("Not now")
            onClicked: prompt.panel.answerLoginPrompt(false)
        }
    }
}
