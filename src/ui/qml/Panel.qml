import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The menu panel: status, keep-awake, closed lid, automation, drives, battery,
// temperatures, fans, demo load, the login question and the footer, in that
// order. Binds to the models and the panel's views, which PanelWindow hands
// in; calls their methods and nothing else.
Rectangle {
    id: root

    required property QtObject manager
    required property QtObject fan
    required property QtObject lid
    required property QtObject drives
    required property QtObject triggers
    required property QtObject panel
    required property QtObject awake
    required property QtObject fanView
    required property QtObject driveView
    required property QtObject render
    required property QtObject automationView
    required property QtObject load // null outside demo mode

    readonly property int panelWidth: 360
    // Taller content scrolls; the window never outgrows the screen.
    readonly property int maxHeight: Math.max(300, Screen.desktopAvailableHeight - 48)

    width: panelWidth
    height: Math.min(content.implicitHeight + 2, maxHeight)
    color: sys.window
    border.color: sys.mid
    focus: true
    Keys.onEscapePressed: panel.requestClose()

    SystemPalette { id: sys }

    Flickable {
        anchors.fill: parent
        anchors.margins: 1
        contentHeight: content.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

        ColumnLayout {
            id: content
            width: parent.width
            spacing: 0

            StatusSection {
                manager: root.manager
                panel: root.panel
                fanView: root.fanView
                fan: root.fan
                updates: root.manager.updates
            }
            KeepAwakeSection {
                awake: root.awake
                panel: root.panel
            }
            LidSection {
                lid: root.lid
                panel: root.panel
            }
            AutomationSection {
                triggers: root.triggers
                automationView: root.automationView
                panel: root.panel
            }
            DrivesSection {
                drives: root.drives
                driveView: root.driveView
                panel: root.panel
            }
            RenderSection {
                render: root.render
                panel: root.panel
            }
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 1
                color: sys.mid
                opacity: 0.4
                Layout.bottomMargin: 6
            }
            BatteryHint {
                panel: root.panel
            }
            TemperatureBadge {
                fanView: root.fanView
            }
            FanSection {
                fan: root.fan
                fanView: root.fanView
                panel: root.panel
            }
            SimulatedLoadSection {
                visible: root.load !== null
                load: root.load
            }
            LoginPrompt {
                panel: root.panel
            }
            Footer {
                panel: root.panel
            }
        }
    }
}
