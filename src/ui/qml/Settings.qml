import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// The settings window: app-wide switches, the language, the update check,
// and the entries for the intro, feedback and uninstalling.
Pane {
    id: root

    required property QtObject settings

    // The language choices, in the picker's order.
    readonly property var languages: ["system", "de", "en"]

    implicitWidth: 460
    padding: 20
    focus: true

    Shortcut {
        sequence: StandardKey.Close
        onActivated: root.Window.window.close()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 10

        SwitchRow {
            objectName: "launchAtLogin"
            focus: true // the keyboard starts here
            text: qsTr("Launch automatically at login")
            checked: root.settings.launchAtLogin
            onToggled: root.settings.launchAtLogin = checked
        }
        SwitchRow {
            objectName: "showTemp"
            text: qsTr("Show temperature in the menu bar")
            checked: root.settings.showTemp
            onToggled: root.settings.showTemp = checked
        }
        ColumnLayout {
            spacing: 0
            Layout.fillWidth: true
            SwitchRow {
                objectName: "hotkeys"
                text: qsTr("Global keyboard shortcuts")
                checked: root.settings.hotkeysOn
                onToggled: root.settings.hotkeysOn = checked
            }
            Caption {
                objectName: "hotkeysNote"
                visible: text !== ""
                text: root.settings.hotkeysNote
            }
        }
        SwitchRow {
            objectName: "heatAlerts"
            text: qsTr("Alerts on heat & throttling")
            checked: root.settings.heatAlerts
            onToggled: root.settings.heatAlerts = checked
        }
        ColumnLayout {
            spacing: 0
            Layout.fillWidth: true
            SwitchRow {
                objectName: "lowBattStop"
                text: qsTr("Auto-stop on low battery")
                checked: root.settings.lowBattStop
                onToggled: root.settings.lowBattStop = checked
            }
            Caption {
                text: qsTr("Ends keep-awake below 15% off charger.")
            }
        }

        Separator {}

        RowLayout {
            Layout.fillWidth: true
            Label {
                textFormat: Text.PlainText
                text: qsTr("Language")
                Layout.fillWidth: true
            }
            ComboBox {
                objectName: "language"
                model: [qsTr("System"), "Deutsch", "English"]
                currentIndex: Math.max(0, root.languages.indexOf(root.settings.appLang))
                onActivated: index => root.settings.appLang = root.languages[index]
                Layout.preferredWidth: 160
            }
        }

        Separator {
            visible: root.settings.updatesAvailable
        }

        RowLayout {
            visible: root.settings.updatesAvailable
            Layout.fillWidth: true
            spacing: 8
            Button {
                objectName: "checkUpdates"
                text: qsTr("Check for updates")
                enabled: !root.settings.checking
                onClicked: root.settings.checkForUpdates()
            }
            BusyIndicator {
                visible: root.settings.checking
                running: visible
                Layout.preferredWidth: 24
                Layout.preferredHeight: 24
            }
            Button {
                objectName: "downloadUpdate"
                visible: root.settings.latestVersion !== ""
                text: "⬇  " + qsTr("Download update v%1").arg(root.settings.latestVersion)
                highlighted: true
                onClicked: Qt.openUrlExternally(root.settings.downloadTarget)
            }
            Label {
                textFormat: Text.PlainText
                objectName: "upToDate"
                visible: root.settings.checkedOnce && !root.settings.checking && root.settings.latestVersion === ""
                text: qsTr("You're on the latest version.")
                opacity: 0.75
            }
            Item {
                Layout.fillWidth: true
            }
        }

        Separator {}

        Button {
            objectName: "showIntro"
            text: "❔  " + qsTr("Show intro again")
            flat: true
            onClicked: root.settings.showIntro()
        }
        Button {
            objectName: "feedback"
            text: "✉️  " + qsTr("Send feedback / report a bug")
            flat: true
            onClicked: Qt.openUrlExternally(root.settings.feedbackUrl)
        }
        ColumnLayout {
            spacing: 0
            Layout.fillWidth: true
            Button {
                objectName: "uninstall"
                text: "🗑️  " + qsTr("Uninstall Quillon…")
                flat: true
                onClicked: root.settings.startUninstall()
            }
            Caption {
                text: qsTr("Completely removes the background helper, the app and its settings.")
            }
        }
    }

    component Separator: Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: "#888"
        opacity: 0.4
    }

    // The dialogs' buttons carry no standard role: a role would close the
    // dialog by itself, while they are shown exactly as long as their model says.
    Dialog {
        id: languageAlert
        objectName: "languageAlert"
        anchors.centerIn: parent
        width: root.width - 60
        modal: true
        visible: root.settings.languageAlert
        closePolicy: Popup.NoAutoClose
        title: qsTr("Language changed")
        Label {
            textFormat: Text.PlainText
            width: parent.width
            wrapMode: Text.WordWrap
            text: qsTr("Restart Quillon so the language applies everywhere.")
        }
        footer: DialogButtonBox {
            Button {
                objectName: "restartNow"
                text: qsTr("Restart now")
                onClicked: root.settings.restartNow()
            }
            Button {
                objectName: "restartLater"
                text: qsTr("Later")
                onClicked: root.settings.restartLater()
            }
        }
    }

    Dialog {
        id: uninstallDialog
        objectName: "uninstallDialog"

        readonly property QtObject flow: root.settings.uninstall
        // UninstallFlow.State.working: the root part runs, nothing to press.
        readonly property bool working: flow !== null && flow.state === 1

        anchors.centerIn: parent
        width: root.width - 60
        modal: true
        visible: flow !== null
        closePolicy: Popup.NoAutoClose
        title: flow ? flow.title : ""
        ColumnLayout {
            width: parent.width
            Label {
                textFormat: Text.PlainText
                text: uninstallDialog.flow ? uninstallDialog.flow.text : ""
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            BusyIndicator {
                visible: uninstallDialog.working
                running: visible
                Layout.alignment: Qt.AlignHCenter
            }
        }
        footer: DialogButtonBox {
            visible: !uninstallDialog.working
            Button {
                objectName: "uninstallAccept"
                text: uninstallDialog.flow ? uninstallDialog.flow.acceptLabel : ""
                onClicked: uninstallDialog.flow.accept()
            }
            Button {
                objectName: "uninstallCancel"
                visible: text !== ""
                text: uninstallDialog.flow ? uninstallDialog.flow.cancelLabel : ""
                onClicked: uninstallDialog.flow.cancel()
            }
        }
    }
}
