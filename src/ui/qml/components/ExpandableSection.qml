import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A panel section with a header that opens and closes its body. The header
// shows the title, a one-line summary and, on the right, any `extras` (a
// master switch). `note` is shown under the header even while closed.
ColumnLayout {
    id: section

    property string title
    property string summary
    property string note
    property bool expanded: false
    property alias extras: extrasRow.data
    default property alias content: body.data
    signal toggled()

    spacing: 0
    Layout.fillWidth: true

    SystemPalette { id: sys }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: sys.mid
        opacity: 0.4
    }

    RowLayout {
        Layout.fillWidth: true
        Layout.leftMargin: 10
        Layout.rightMargin: 12
        Layout.topMargin: 6
        Layout.bottomMargin: 6
        spacing: 6

        Label {
            textFormat: Text.PlainText
            text: "›"
            font.pixelSize: 18
            rotation: section.expanded ? 90 : 0
            Layout.preferredWidth: 12
            horizontalAlignment: Text.AlignHCenter
            Behavior on rotation { NumberAnimation { duration: 120 } }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0
            Label {
                textFormat: Text.PlainText
                objectName: section.objectName + "Title"
                text: section.title
                font.bold: true
                Layout.fillWidth: true
                elide: Text.ElideRight
            }
            Label {
                textFormat: Text.PlainText
                objectName: section.objectName + "Summary"
                text: section.summary
                visible: text !== ""
                opacity: 0.75
                font.pixelSize: 12
                Layout.fillWidth: true
                elide: Text.ElideRight
            }
        }
        RowLayout {
            id: extrasRow
        }
        TapHandler {
            onTapped: section.toggled()
        }
    }

    Label {
        textFormat: Text.PlainText
        objectName: section.objectName + "Note"
        text: section.note
        visible: text !== ""
        wrapMode: Text.WordWrap
        font.pixelSize: 12
        color: "#c0392b"
        Layout.fillWidth: true
        Layout.leftMargin: 28
        Layout.rightMargin: 12
        Layout.bottomMargin: 6
    }

    ColumnLayout {
        id: body
        objectName: section.objectName + "Body"
        visible: section.expanded
        spacing: 6
        Layout.fillWidth: true
        Layout.leftMargin: 28
        Layout.rightMargin: 12
        Layout.bottomMargin: 10
    }
}
