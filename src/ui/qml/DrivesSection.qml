import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Drive keep-alive: its switch, the interval, the chosen drives and the
// mounted external drives that can be added.
ExpandableSection {
    id: section

    required property QtObject drives
    required property QtObject driveView
    required property QtObject panel

    readonly property string intervalLabel: {
        const choice = driveView.intervals.find(c => c.seconds === drives.intervalSeconds)
        return choice ? choice.label : drives.intervalSeconds + " s"
    }

    objectName: "drives"
    title: qsTr("Keep drives awake")
    summary: !drives.enabled ? qsTr("Off")
        : driveView.chosen.length === 0 ? qsTr("No drive chosen")
        : qsTr("Drives: %1 · every %2").arg(driveView.chosen.length).arg(intervalLabel)
    expanded: panel.drivesExpanded
    onToggled: panel.drivesExpanded = !panel.drivesExpanded
    onExpandedChanged: if (expanded) driveView.refresh()

    extras: Switch {
        objectName: "drivesSwitch"
        checked: section.drives.enabled
        onToggled: section.drives.enabled = checked
    }

    Caption {
        text: qsTr("Reads each chosen drive's top folder at the interval, so it does not spin down. Nothing is written.")
    }
    ChoiceRow {
        choices: section.driveView.intervals
        valueRole: "seconds"
        current: section.drives.intervalSeconds
        onChosen: seconds => section.drives.intervalSeconds = seconds
    }
    Repeater {
        model: section.driveView.chosen
        RowLayout {
            required property var modelData
            Layout.fillWidth: true
            ColumnLayout {
                spacing: 0
                Layout.fillWidth: true
                Label {
                    text: modelData.name
                    textFormat: Text.PlainText
                    elide: Text.ElideMiddle
                    Layout.fillWidth: true
                }
                Caption {
                    objectName: "driveNotReachable"
                    visible: !modelData.reachable
                    text: qsTr("Not reachable: left out until it answers again")
                }
            }
            ToolButton {
                text: "✕"
                onClicked: section.driveView.remove(modelData.path)
            }
        }
    }
    Label {
        textFormat: Text.PlainText
        text: qsTr("Add a drive")
        font.bold: true
    }
    Caption {
        text: qsTr("No other external drive is mounted.")
        visible: section.driveView.addable.length === 0
    }
    Repeater {
        model: section.driveView.addable
        Button {
            required property var modelData
            text: "+ " + modelData.name
            flat: true
            onClicked: section.driveView.add(modelData.path, modelData.name)
            // A volume's label is outside text: never read as markup.
            contentItem: Label {
                textFormat: Text.PlainText
                text: "+ " + modelData.name
                elide: Text.ElideMiddle
            }
        }
    }
}
