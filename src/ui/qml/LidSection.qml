import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Closed-lid keep-awake: its switch, what it does, and why it last stopped
// by itself.
ExpandableSection {
    id: section

    required property QtObject lid
    required property QtObject panel

    objectName: "lid"
    title: qsTr("Closed lid")
    summary: lid.enabled ? qsTr("On — stays awake with the lid closed") : qsTr("Off")
    // While on: through what the lid is held. Off: why it stopped or was refused.
    note: lid.enabled || lid.lastAutoOff === "" ? lid.holdNote : lid.lastAutoOff
    expanded: panel.lidExpanded
    onToggled: panel.lidExpanded = !panel.lidExpanded

    extras: Switch {
        objectName: "lidSwitch"
        checked: section.lid.enabled
        onToggled: section.lid.enabled = checked
    }

    Caption {
        text: qsTr("Keeps the Mac running with the lid closed and cools it on the balanced profile. Stops by itself when it gets too hot or the battery falls below 15 %.")
    }
}
