import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Small explanatory text, wrapped to the panel's width.
Label {
    wrapMode: Text.WordWrap
    font.pixelSize: 12
    opacity: 0.75
    Layout.fillWidth: true
}
