import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Keep-awake: the three kinds, "Stay awake for" a fixed time or until a
// custom end, the countdown of a running session, and the pause.
ExpandableSection {
    id: section

    required property QtObject awake
    required property QtObject panel

    objectName: "awake"
    title: qsTr("Keep awake")
    summary: awake.summary
    expanded: panel.awakeExpanded
    onToggled: panel.awakeExpanded = !panel.awakeExpanded

    Repeater {
        model: section.awake.kinds
        ColumnLayout {
            required property var modelData
            spacing: 0
            Layout.fillWidth: true
            SwitchRow {
                objectName: "kind_" + modelData.name
                text: modelData.label
                checked: modelData.active
                onToggled: section.awake.toggleKind(modelData.name)
            }
            Caption {
                objectName: "kindNote_" + modelData.name
                text: modelData.note
                visible: text !== ""
            }
        }
    }
    Label {
        textFormat: Text.PlainText
        objectName: "stayAwakeFor"
        text: qsTr("Stay awake for")
        font.bold: true
        Layout.topMargin: 4
    }
    ChoiceRow {
        objectName: "durations"
        choices: section.awake.durations
        valueRole: "seconds"
        exclusive: false
        onChosen: seconds => section.awake.stayAwakeFor(seconds)
    }
    Button {
        objectName: "customEndButton"
        text: qsTr("Custom end time…")
        flat: true
        onClicked: section.awake.customPickerShown = !section.awake.customPickerShown
    }
    CustomEndPicker {
        awake: section.awake
        visible: section.awake.customPickerShown
    }
    Button {
        objectName: "awakeOff"
        text: qsTr("Turn off")
        visible: section.awake.active
        onClicked: section.awake.stop()
    }
    Label {
        textFormat: Text.PlainText
        objectName: "pauseHeading"
        text: section.awake.paused ? section.awake.pausedText : qsTr("Pause for")
        font.bold: true
        Layout.topMargin: 4
    }
    ChoiceRow {
        objectName: "pauseChoices"
        visible: !section.awake.paused
        choices: section.awake.pauseChoices
        valueRole: "seconds"
        exclusive: false
        onChosen: seconds => section.awake.pauseFor(seconds)
    }
    Button {
        objectName: "resume"
        text: qsTr("Resume")
        visible: section.awake.paused
        onClicked: section.awake.resume()
    }
    Caption {
        objectName: "pauseScope"
        text: qsTr("A pause lets go of this session, automation and the processes kept awake for. Render Mode, the closed lid and fan control go on.")
    }
}
