import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The panel's foot: the settings window and quit.
ColumnLayout {
    id: footer

    required property QtObject panel

    spacing: 0
    Layout.fillWidth: true

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: "#888"
        opacity: 0.4
    }
    RowLayout {
        Layout.fillWidth: true
        Layout.margins: 8
        Button {
            objectName: "settings"
            text: "⚙️  " + qsTr("Settings…")
            flat: true
            onClicked: footer.panel.requestSettings()
        }
        Item {
            Layout.fillWidth: true
        }
        Button {
            objectName: "quit"
            text: qsTr("Quit Quillon")
            flat: true
            onClicked: footer.panel.requestQuit()
        }
    }
}
