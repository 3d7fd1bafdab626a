import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The dim full-screen layer Render Mode shows on every screen where the
// window draws it all: the figures centred, the exit below (Esc leaves too).
// Its colour is given by whoever shows it.
Rectangle {
    id: overlay

    required property QtObject render

    focus: true
    Keys.onEscapePressed: overlay.render.enabled = false

    RenderOverlayContent {
        render: overlay.render
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 640)
    }

    // The way out stays in one place on every screen, whatever the figures above show.
    RenderOverlayExit {
        render: overlay.render
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 64
    }
}
