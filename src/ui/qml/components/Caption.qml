import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Small explanatory text, wrapped to the panel's width. Like every label
// here it is plain text: what it shows may come from outside (an app's or a
// project's name), and markup in it must not draw anything.
Label {
    textFormat: Text.PlainText
    wrapMode: Text.WordWrap
    font.pixelSize: 12
    opacity: 0.75
    Layout.fillWidth: true
}
