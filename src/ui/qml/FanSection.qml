import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// Fan control: the master switch, the fans' speeds, automatic (a profile,
// its blurb and its curve with the current temperature) or manual (a floor
// as a timed boost), and what the fans are doing now.
ExpandableSection {
    id: section

    required property QtObject fan
    required property QtObject fanView
    required property QtObject panel

    // A manual floor needs a fan to drive.
    readonly property bool manual: fan.coolingMode === "manual" && !profileOnly
    // The helper found no fan it can drive: the summary says why, and no
    // control pretends otherwise.
    readonly property bool controllable: fan.helperInstalled && fan.fanControlUnavailable === ""
    // ... though where the firmware's power profile can cool, the switch and
    // the profile choice hold that profile instead.
    readonly property bool profileOnly: fan.helperInstalled && fan.profileRoute

    objectName: "fans"
    title: qsTr("Fans")
    summary: fanView.status
    expanded: panel.fansExpanded
    onToggled: panel.fansExpanded = !panel.fansExpanded

    extras: Switch {
        objectName: "fansSwitch"
        visible: section.fan.fanControlUnavailable === "" || section.profileOnly
        enabled: section.controllable || section.profileOnly
        checked: section.fan.fansEnabled
        onToggled: section.fan.setFansEnabled(checked)
    }

    Repeater {
        model: section.fanView.fanCount
        Label {
            textFormat: Text.PlainText
            required property int index
            objectName: "fanSpeed"
            text: section.fanView.fanSpeeds[index] ?? ""
            font.pixelSize: 12
        }
    }
    ChoiceRow {
        objectName: "coolingMode"
        visible: !section.profileOnly
        enabled: section.controllable
        choices: [{label: qsTr("Automatic"), value: "auto"}, {label: qsTr("Manual"), value: "manual"}]
        current: section.fan.coolingMode
        onChosen: mode => section.fan.coolingMode = mode
    }

    Caption {
        objectName: "profileCooling"
        text: section.fan.profileCooling
        visible: text !== ""
    }

    Caption {
        objectName: "triggerNote"
        text: section.fanView.triggerNote
        visible: text !== ""
    }

    // Automatic: the profile and its curve.
    ChoiceRow {
        objectName: "profiles"
        visible: !section.manual
        enabled: section.controllable || section.profileOnly
        choices: section.fanView.profiles
        valueRole: "kind"
        current: section.fan.coolingProfile
        onChosen: kind => section.fan.coolingProfile = kind
    }
    Caption {
        objectName: "profileBlurb"
        visible: !section.manual
        text: section.fanView.blurb
    }
    ProfileCurve {
        visible: !section.manual && !section.profileOnly
        points: section.fanView.curvePoints
        marker: section.fanView.curveMarker
        Layout.fillWidth: true
        Layout.preferredHeight: 110
    }

    // Manual: the floor and the boost's length.
    RowLayout {
        visible: section.manual
        Layout.fillWidth: true
        Slider {
            id: floor
            objectName: "manualSlider"
            from: 0
            to: 100
            stepSize: 5
            enabled: section.controllable && section.fan.fansEnabled
            value: section.fanView.manualSlider
            Layout.fillWidth: true
            onMoved: section.fanView.manualSlider = value
            onPressedChanged: if (!pressed) section.fanView.commitSlider()
        }
        Label {
            textFormat: Text.PlainText
            text: Math.round(floor.value) + " %"
            Layout.preferredWidth: 44
            horizontalAlignment: Text.AlignRight
        }
    }
    Label {
        textFormat: Text.PlainText
        visible: section.manual
        text: qsTr("Boost for")
        font.bold: true
    }
    ChoiceRow {
        objectName: "boostChoices"
        visible: section.manual
        choices: section.fanView.boostChoices
        valueRole: "seconds"
        current: section.fan.boostDuration
        onChosen: seconds => section.fanView.chooseBoost(seconds)
    }
    Label {
        textFormat: Text.PlainText
        objectName: "boostCountdown"
        visible: text !== ""
        text: section.fanView.boostCountdown
    }
}
