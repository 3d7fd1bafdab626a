import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A row of choices from `choices`, a list of objects with a "label" and a
// value under `valueRole`. With `exclusive`, the button whose value equals
// `current` is highlighted. A click reports `chosen` with the value.
Flow {
    id: row

    property var choices: []
    property string valueRole: "value"
    property bool exclusive: true
    property var current
    signal chosen(var value)

    spacing: 4
    Layout.fillWidth: true

    Repeater {
        model: row.choices
        Button {
            required property var modelData
            text: modelData.label
            highlighted: row.exclusive && modelData[row.valueRole] === row.current
            onClicked: row.chosen(modelData[row.valueRole])
        }
    }
}
