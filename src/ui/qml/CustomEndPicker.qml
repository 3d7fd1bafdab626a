import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import "components"

// The custom end: a day of the coming week, an hour and a minute, the end
// they make, and a button that starts the session until then.
ColumnLayout {
    id: picker

    required property QtObject awake

    spacing: 4
    Layout.fillWidth: true

    RowLayout {
        spacing: 4
        ComboBox {
            id: day
            objectName: "customDay"
            model: picker.awake.customDays
            currentIndex: picker.awake.customDay
            Layout.fillWidth: true
            onActivated: index => picker.awake.setCustomEnd(index, hour.value, minute.value)
        }
        SpinBox {
            id: hour
            objectName: "customHour"
            from: 0
            to: 23
            value: picker.awake.customHour
            editable: true
            Layout.preferredWidth: 84
            textFromValue: (value, locale) => String(value).padStart(2, "0")
            onValueModified: picker.awake.setCustomEnd(day.currentIndex, value, minute.value)
        }
        SpinBox {
            id: minute
            objectName: "customMinute"
            from: 0
            to: 59
            stepSize: 5
            value: picker.awake.customMinute
            editable: true
            Layout.preferredWidth: 84
            textFromValue: (value, locale) => String(value).padStart(2, "0")
            onValueModified: picker.awake.setCustomEnd(day.currentIndex, hour.value, value)
        }
    }
    RowLayout {
        Caption {
            objectName: "customEndText"
            text: picker.awake.customEndText
        }
        Button {
            objectName: "customStart"
            text: qsTr("Start")
            enabled: picker.awake.customEndInFuture
            onClicked: picker.awake.stayAwakeUntilCustom()
        }
    }
}
