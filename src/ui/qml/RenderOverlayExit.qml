import QtQuick
import QtQuick.Controls

// The overlay's way out: switches Render Mode off (Esc too).
Button {
    id: exit

    required property QtObject render

    objectName: "overlayExit"
    text: qsTr("Exit Render Mode")
    // About 40 px tall: a target that is easy to hit on a dimmed screen.
    font.pixelSize: 16
    padding: 12
    focus: true
    Keys.onEscapePressed: exit.render.enabled = false
    onClicked: exit.render.enabled = false
}
