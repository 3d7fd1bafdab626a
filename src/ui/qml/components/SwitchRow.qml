import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A labelled switch filling the row.
Switch {
    Layout.fillWidth: true
    leftPadding: 0
}
