import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The panel's head: what is on right now, the helper's state, and the
// everything-off button while anything is on.
ColumnLayout {
    id: status

    required property QtObject manager
    required property QtObject panel
    required property QtObject fanView
    required property QtObject fan
    required property QtObject updates

    spacing: 4
    Layout.fillWidth: true
    Layout.margins: 12

    RowLayout {
        Layout.fillWidth: true
        spacing: 8
        Image {
            source: "qrc:/icons/org.quillon.Quillon.svg"
            sourceSize: Qt.size(24, 24)
        }
        Label {
            textFormat: Text.PlainText
            text: "Quillon"
            font.bold: true
            font.pixelSize: 16
            Layout.fillWidth: true
        }
        Button {
            objectName: "allOff"
            text: qsTr("All off")
            // Also for a session the system has not (yet) confirmed: it is still there to switch off.
            visible: status.manager.anythingActive || status.manager.activeKinds.length > 0
            onClicked: status.manager.resetAll()
        }
    }
    // By count, so that a line's text changing every second keeps its label.
    Repeater {
        model: status.panel.statusLines.length
        Label {
            textFormat: Text.PlainText
            required property int index
            objectName: "statusLine"
            text: status.panel.statusLines[index] ?? ""
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
    }
    // The helper banner: what is wrong with the helper, and the button that
    // installs or updates it.
    RowLayout {
        visible: helperLine.text !== ""
        Layout.fillWidth: true
        spacing: 8
        Label {
            textFormat: Text.PlainText
            id: helperLine
            objectName: "helperLine"
            text: status.fanView.helperLine
            wrapMode: Text.WordWrap
            font.pixelSize: 12
            color: "#c0392b"
            Layout.fillWidth: true
        }
        Button {
            objectName: "helperAction"
            text: status.fanView.helperAction
            visible: text !== ""
            onClicked: status.fan.installHelper()
        }
    }
    // A newer version on the project's feed: the banner opens its download.
    Button {
        objectName: "updateBanner"
        visible: status.updates.latestVersion !== ""
        text: qsTr("Update to v%1 available — download").arg(status.updates.latestVersion)
        flat: true
        Layout.fillWidth: true
        onClicked: Qt.openUrlExternally(status.updates.downloadTarget)
    }
}
