import QtQuick
import QtQuick.Controls
import QtQuick.Window

// The welcome window: six pages (emoji, title, body, in the page's accent
// colour), dots that show where the user is, and Back / Next, which becomes
// "Let's go!" on the last page. The pages slide in the direction of travel.
// Keys: Right and Return forward, Left back, Escape closes early.
// OnboardingController hands itself in as `onboarding`.
Rectangle {
    id: root

    required property QtObject onboarding

    // The page shown, from 0.
    property int page: 0
    // Drives the entrance animation: false until the window first draws.
    property bool ready: false
    // Chooses the direction of the slide: true when the last move was forward.
    property bool goingForward: true

    readonly property var pages: onboarding.pages
    readonly property int count: pages.length
    readonly property bool lastPage: page === count - 1
    property color accent: pages[page] ? pages[page].accent : "#0a84ff"
    Behavior on accent {
        ColorAnimation {
            duration: 400
        }
    }

    function go(to) {
        if (to < 0 || to >= count || to === page)
            return;
        goingForward = to > page;
        page = to;
        stack.replace(pageComponent, {"index": to});
    }
    function forward() {
        if (lastPage)
            onboarding.finish();
        else
            go(page + 1);
    }
    function back() {
        go(page - 1);
    }
    // A colour c at opacity a.
    function tint(c, a) {
        return Qt.rgba(c.r, c.g, c.b, a);
    }

    implicitWidth: 560
    implicitHeight: 640
    color: sys.window
    border.color: tint(sys.windowText, 0.18)

    focus: true
    // For the whole window, wherever the focus is.
    Shortcut {
        sequences: ["Right", "Return", "Enter"]
        onActivated: root.forward()
    }
    Shortcut {
        sequence: "Left"
        onActivated: root.back()
    }
    Shortcut {
        sequence: "Escape"
        onActivated: root.onboarding.close()
    }

    SystemPalette {
        id: sys
    }

    Component.onCompleted: entrance.start()
    Timer {
        id: entrance
        interval: 80
        onTriggered: root.ready = true
    }

    // A glow of the page's accent behind the emoji.
    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 1
        height: 340
        gradient: Gradient {
            GradientStop {
                position: 0
                color: root.tint(root.accent, 0.16)
            }
            GradientStop {
                position: 1
                color: root.tint(root.accent, 0)
            }
        }
    }

    // The window has no title bar: its background moves it.
    DragHandler {
        target: null
        onActiveChanged: if (active)
            root.Window.window.startSystemMove()
    }

    ToolButton {
        objectName: "closeButton"
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: 10
        width: 32
        height: 32
        focusPolicy: Qt.NoFocus
        text: "✕"
        font.pixelSize: 15
        opacity: hovered ? 0.9 : 0.45
        background: Rectangle {
            radius: 16
            color: parent.hovered ? root.tint(sys.windowText, 0.08) : "transparent"
        }
        onClicked: root.onboarding.close()
    }

    // The pages.
    Item {
        id: stage
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: controls.top
        anchors.topMargin: 36
        clip: true
        opacity: root.ready ? 1 : 0
        scale: root.ready ? 1 : 0.94
        Behavior on opacity {
            NumberAnimation {
                duration: 500
                easing.type: Easing.OutCubic
            }
        }
        Behavior on scale {
            NumberAnimation {
                duration: 650
                easing.type: Easing.OutBack
                easing.overshoot: 1.2
            }
        }

        StackView {
            id: stack
            objectName: "pager"
            anchors.fill: parent
            focusPolicy: Qt.NoFocus
            Component.onCompleted: push(pageComponent, {"index": 0}, StackView.Immediate)

            readonly property real distance: width * 0.6
            replaceEnter: Transition {
                NumberAnimation {
                    property: "x"
                    from: (root.goingForward ? 1 : -1) * stack.distance
                    to: 0
                    duration: 420
                    easing.type: Easing.OutCubic
                }
                NumberAnimation {
                    property: "opacity"
                    from: 0
                    to: 1
                    duration: 320
                    easing.type: Easing.OutCubic
                }
            }
            replaceExit: Transition {
                NumberAnimation {
                    property: "x"
                    from: 0
                    to: (root.goingForward ? -1 : 1) * stack.distance
                    duration: 420
                    easing.type: Easing.OutCubic
                }
                NumberAnimation {
                    property: "opacity"
                    from: 1
                    to: 0
                    duration: 220
                    easing.type: Easing.OutCubic
                }
            }
        }
    }

    Component {
        id: pageComponent

        Item {
            id: pageItem

            property int index
            readonly property var content: root.pages[index] || {}
            readonly property color accent: content.accent || "#0a84ff"

            // At the same height on every page: the emoji and title stay in place as pages slide.
            Column {
                anchors.top: parent.top
                anchors.topMargin: 22
                anchors.horizontalCenter: parent.horizontalCenter
                width: parent.width - 64
                spacing: 0

                Rectangle {
                    anchors.horizontalCenter: parent.horizontalCenter
                    width: 136
                    height: 136
                    radius: 68
                    color: root.tint(pageItem.accent, 0.14)
                    border.color: root.tint(pageItem.accent, 0.35)
                    border.width: 1

                    Text {
                        textFormat: Text.PlainText
                        objectName: "pageEmoji"
                        anchors.centerIn: parent
                        text: pageItem.content.emoji || ""
                        font.family: "Noto Color Emoji"
                        font.pixelSize: 76
                    }
                }
                Item {
                    width: 1
                    height: 26
                }
                Text {
                    textFormat: Text.PlainText
                    objectName: "pageTitle"
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: pageItem.content.title || ""
                    color: sys.windowText
                    font.pixelSize: 30
                    font.weight: Font.Bold
                    font.letterSpacing: -0.4
                    lineHeight: 1.05
                }
                Item {
                    width: 1
                    height: 12
                }
                Rectangle {
                    anchors.horizontalCenter: parent.horizontalCenter
                    width: 36
                    height: 4
                    radius: 2
                    color: pageItem.accent
                }
                Item {
                    width: 1
                    height: 16
                }
                Text {
                    textFormat: Text.PlainText
                    objectName: "pageBody"
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: pageItem.content.body || ""
                    color: root.tint(sys.windowText, 0.72)
                    font.pixelSize: 15
                    lineHeight: 1.25
                }
            }
        }
    }

    // Dots and buttons.
    Item {
        id: controls
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 24
        height: 84
        opacity: root.ready ? 1 : 0
        Behavior on opacity {
            SequentialAnimation {
                PauseAnimation {
                    duration: 250
                }
                NumberAnimation {
                    duration: 450
                    easing.type: Easing.OutCubic
                }
            }
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: parent.top
            spacing: 8

            Repeater {
                model: root.count

                Rectangle {
                    objectName: "pageDot"
                    required property int index
                    readonly property bool current: index === root.page
                    anchors.verticalCenter: parent.verticalCenter
                    width: current ? 22 : 8
                    height: 8
                    radius: 4
                    color: current ? root.accent : root.tint(sys.windowText, 0.2)
                    Behavior on width {
                        NumberAnimation {
                            duration: 300
                            easing.type: Easing.OutCubic
                        }
                    }

                    MouseArea {
                        anchors.fill: parent
                        anchors.margins: -6
                        cursorShape: Qt.PointingHandCursor
                        onClicked: root.go(parent.index)
                    }
                }
            }
        }

        Button {
            id: backButton
            objectName: "backButton"
            anchors.left: parent.left
            anchors.bottom: parent.bottom
            height: 44
            leftPadding: 18
            rightPadding: 18
            focusPolicy: Qt.NoFocus
            enabled: root.page > 0
            opacity: enabled ? 1 : 0
            Behavior on opacity {
                NumberAnimation {
                    duration: 200
                }
            }
            text: qsTr("Back")
            font.pixelSize: 15
            contentItem: Text {
                text: backButton.text
                font: backButton.font
                color: root.tint(sys.windowText, backButton.hovered ? 0.9 : 0.65)
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 22
                color: root.tint(sys.windowText, backButton.down ? 0.12 : backButton.hovered ? 0.07 : 0)
            }
            onClicked: root.back()
        }

        Button {
            id: nextButton
            objectName: "nextButton"
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: 44
            width: Math.max(150, implicitWidth)
            leftPadding: 28
            rightPadding: 28
            focusPolicy: Qt.NoFocus
            text: root.lastPage ? qsTr("Let's go!") : qsTr("Next")
            font.pixelSize: 15
            font.weight: Font.DemiBold
            contentItem: Text {
                text: nextButton.text
                font: nextButton.font
                // Dark text on a light accent (the yellow), white on the others.
                color: 0.299 * root.accent.r + 0.587 * root.accent.g + 0.114 * root.accent.b > 0.62 ? "#1d1d1f" : "white"
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 22
                color: nextButton.down ? Qt.darker(root.accent, 1.2) : nextButton.hovered ? Qt.lighter(root.accent, 1.08)
                                                                                         : root.accent
            }
            onClicked: root.forward()
        }
    }
}
