import QtQuick
import QtQuick.Controls

// The cooling profile's curve: fan floor (0..100 %) over temperature
// (30..100 °C), with the current temperature marked on it.
Canvas {
    id: canvas

    property var points: []      // [{temp, percent}], sorted by temperature
    property var marker          // {temp, percent}, or undefined without a reading
    readonly property real minTemp: 30
    readonly property real maxTemp: 100

    objectName: "profileCurve"
    onPointsChanged: requestPaint()
    onMarkerChanged: requestPaint()
    onWidthChanged: requestPaint()
    onVisibleChanged: if (visible) requestPaint()

    SystemPalette { id: sys }

    function xOf(temp) {
        return 24 + (width - 30) * (Math.max(minTemp, Math.min(maxTemp, temp)) - minTemp) / (maxTemp - minTemp)
    }
    function yOf(percent) {
        return 4 + (height - 20) * (1 - percent / 100)
    }

    onPaint: {
        const ctx = getContext("2d")
        ctx.reset()
        ctx.font = "10px sans-serif"
        ctx.fillStyle = sys.windowText
        ctx.globalAlpha = 0.5
        ctx.fillText("100%", 0, yOf(100) + 4)
        ctx.fillText("0", 12, yOf(0) + 4)
        // Labels are centred under their mark but never cut off at the right edge.
        for (const t of [40, 60, 80, 100]) {
            const text = t + "°"
            const w = ctx.measureText(text).width
            ctx.fillText(text, Math.min(xOf(t) - w / 2, width - w - 1), height - 2)
        }
        ctx.strokeStyle = sys.mid
        ctx.lineWidth = 1
        ctx.strokeRect(xOf(minTemp), yOf(100), xOf(maxTemp) - xOf(minTemp), yOf(0) - yOf(100))
        ctx.globalAlpha = 1
        if (!points || points.length === 0)
            return
        // Flat before the first point and after the last, as the profile is.
        ctx.strokeStyle = sys.highlight
        ctx.lineWidth = 2
        ctx.beginPath()
        ctx.moveTo(xOf(minTemp), yOf(points[0].percent))
        for (const p of points)
            ctx.lineTo(xOf(p.temp), yOf(p.percent))
        ctx.lineTo(xOf(maxTemp), yOf(points[points.length - 1].percent))
        ctx.stroke()
        if (marker) {
            ctx.fillStyle = "#e67e22"
            ctx.beginPath()
            ctx.arc(xOf(marker.temp), yOf(marker.percent), 4, 0, 2 * Math.PI)
            ctx.fill()
            ctx.fillStyle = sys.windowText
            const label = Math.round(marker.temp) + "° → " + Math.round(marker.percent) + "%"
            const x = Math.min(xOf(marker.temp) + 6, width - ctx.measureText(label).width - 1)
            ctx.fillText(label, x, Math.max(12, yOf(marker.percent) - 6))
        }
    }
}
