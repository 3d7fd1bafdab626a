import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Automation: the master switch, the AC power, external display, full
// screen and media rules, the apps whose running keeps the computer awake
// (each with its cooling), the apps whose full screen does not count, and a
// searchable picker of the installed apps for either list.
ExpandableSection {
    id: section

    required property QtObject triggers
    required property QtObject automationView
    required property QtObject panel

    objectName: "automation"
    title: qsTr("Automation")
    summary: automationView.summary
    note: automationView.note
    expanded: panel.automationExpanded
    onToggled: panel.automationExpanded = !panel.automationExpanded

    extras: Switch {
        objectName: "automationSwitch"
        checked: section.triggers.automationEnabled
        onToggled: section.triggers.automationEnabled = checked
    }

    Caption {
        text: qsTr("Keeps the Mac awake by itself while a rule holds, and cools it as the running apps ask.")
    }
    Caption {
        objectName: "batteryStopCaption"
        text: qsTr("Holds nothing on battery at 12 % or less.")
        visible: section.automationView.batteryStop
    }
    SwitchRow {
        objectName: "onACSwitch"
        text: qsTr("While on AC power")
        checked: section.triggers.keepAwakeOnAC
        onToggled: section.triggers.keepAwakeOnAC = checked
    }
    SwitchRow {
        objectName: "extDisplaySwitch"
        text: qsTr("While an external display is connected")
        checked: section.triggers.keepAwakeOnExternalDisplay
        onToggled: section.triggers.keepAwakeOnExternalDisplay = checked
    }
    SwitchRow {
        objectName: "fullScreenSwitch"
        text: qsTr("While another app is full screen")
        checked: section.triggers.keepAwakeOnFullScreen
        enabled: section.automationView.fullScreenUnavailable === ""
        onToggled: section.triggers.keepAwakeOnFullScreen = checked
    }
    Caption {
        objectName: "fullScreenUnavailable"
        text: qsTr("Unavailable: %1").arg(section.automationView.fullScreenUnavailable)
        visible: section.automationView.fullScreenUnavailable !== ""
    }
    Flow {
        objectName: "excludedApps"
        visible: section.triggers.keepAwakeOnFullScreen && section.automationView.fullScreenUnavailable === ""
        spacing: 4
        Layout.fillWidth: true
        Label {
            textFormat: Text.PlainText
            text: qsTr("Not counting:")
        }
        Repeater {
            model: section.automationView.excluded
            Button {
                required property var modelData
                objectName: "excluded_" + modelData.id
                text: modelData.name + "  ✕"
                flat: true
                onClicked: section.automationView.removeExcluded(modelData.id)
            }
        }
        Button {
            objectName: "addExclusion"
            text: qsTr("Add an app…")
            flat: true
            onClicked: section.automationView.togglePicker(true)
        }
    }
    SwitchRow {
        objectName: "mediaSwitch"
        text: qsTr("While media is playing")
        checked: section.triggers.keepAwakeOnMedia
        enabled: section.automationView.mediaUnavailable === ""
        onToggled: section.triggers.keepAwakeOnMedia = checked
    }
    Caption {
        objectName: "mediaUnavailable"
        text: qsTr("Unavailable: %1").arg(section.automationView.mediaUnavailable)
        visible: section.automationView.mediaUnavailable !== ""
    }
    Label {
        textFormat: Text.PlainText
        objectName: "appsHeading"
        text: qsTr("While these apps run")
        font.bold: true
        Layout.topMargin: 4
    }
    Caption {
        objectName: "noApps"
        text: qsTr("No app chosen yet.")
        visible: section.automationView.apps.length === 0
    }
    Repeater {
        model: section.automationView.apps
        RowLayout {
            required property var modelData
            Layout.fillWidth: true
            spacing: 6
            Image {
                source: modelData.icon
                sourceSize: Qt.size(20, 20)
                Layout.preferredWidth: 20
                Layout.preferredHeight: 20
            }
            Label {
                textFormat: Text.PlainText
                objectName: "appName"
                text: modelData.name
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            ComboBox {
                objectName: "appCooling_" + modelData.id
                model: section.automationView.coolingChoices
                textRole: "label"
                valueRole: "value"
                Layout.preferredWidth: 120
                Component.onCompleted: currentIndex = indexOfValue(modelData.cooling)
                onActivated: section.automationView.setCooling(modelData.id, currentValue)
            }
            ToolButton {
                objectName: "appRemove_" + modelData.id
                text: "✕"
                onClicked: section.automationView.remove(modelData.id)
            }
        }
    }
    Button {
        objectName: "addApp"
        text: qsTr("Add an app…")
        flat: true
        visible: section.automationView.addRefusal === ""
        onClicked: section.automationView.togglePicker(false)
    }
    Caption {
        objectName: "addAppRefusal"
        visible: text !== ""
        text: section.automationView.addRefusal
    }
    ColumnLayout {
        objectName: "appPicker"
        visible: section.automationView.pickerShown
        spacing: 2
        Layout.fillWidth: true
        TextField {
            objectName: "appSearch"
            placeholderText: qsTr("Search installed apps")
            text: section.automationView.query
            Layout.fillWidth: true
            onTextEdited: section.automationView.query = text
        }
        Caption {
            objectName: "noCandidates"
            text: qsTr("No installed app matches.")
            visible: section.automationView.candidates.length === 0
        }
        Repeater {
            model: section.automationView.candidates
            ItemDelegate {
                required property var modelData
                objectName: "candidate_" + modelData.id
                text: modelData.name
                Layout.fillWidth: true
                onClicked: section.automationView.add(modelData.id)
                // Drawn here rather than by the style, whose label would read
                // markup in an entry's Name.
                contentItem: RowLayout {
                    spacing: 8
                    Image {
                        source: modelData.icon
                        visible: source.toString() !== ""
                        sourceSize: Qt.size(22, 22)
                        Layout.preferredWidth: 22
                        Layout.preferredHeight: 22
                    }
                    Label {
                        textFormat: Text.PlainText
                        text: modelData.name
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                }
            }
        }
    }
}
