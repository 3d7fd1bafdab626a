import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Render Mode: its switch, what it does, DaVinci Resolve's progress while on
// and the last session's summary once off.
ExpandableSection {
    id: section

    required property QtObject render
    required property QtObject panel

    objectName: "render"
    title: qsTr("Render Mode")
    summary: render.summary
    note: render.lastSummary
    expanded: panel.renderExpanded
    onToggled: panel.renderExpanded = !panel.renderExpanded

    extras: Switch {
        objectName: "renderSwitch"
        checked: section.render.enabled
        onToggled: section.render.enabled = checked
    }

    Caption {
        text: qsTr("For long renders: keeps the system and network awake, external drives spinning and, with the fan helper, the closed lid awake and the fans on balanced. Follows DaVinci Resolve's render queue and dims every screen with live figures.")
    }
    Label {
        textFormat: Text.PlainText
        objectName: "renderProgress"
        visible: section.render.enabled
        text: section.render.progressText
        Layout.fillWidth: true
        elide: Text.ElideRight
    }
    ProgressBar {
        objectName: "renderBar"
        visible: section.render.enabled && section.render.percent >= 0
        from: 0
        to: 100
        value: Math.max(0, section.render.percent)
        Layout.fillWidth: true
    }
    Caption {
        objectName: "renderPeaks"
        visible: section.render.enabled
        text: section.render.peaksText
    }
}
