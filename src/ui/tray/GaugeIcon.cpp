#include "GaugeIcon.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace quillon::ui {

namespace {

// With a title, the gauge takes the upper part and the text the lower.
constexpr double kGaugeShareWithTitle = 0.62;
constexpr double kTextShareWithTitle = 0.46;

QSvgRenderer& renderer(bool active)
{
    static QSvgRenderer idle(QStringLiteral(":/icons/quillon-gauge-idle.svg"));
    static QSvgRenderer full(QStringLiteral(":/icons/quillon-gauge-active.svg"));
    return active ? full : idle;
}

// The largest bold font whose rendering of text fits into box.
QFont fittingFont(const QString& text, const QSizeF& box)
{
    QFont font;
    font.setBold(true);
    double pixelSize = box.height();
    font.setPixelSize(std::max(1, static_cast<int>(pixelSize)));
    const double width = QFontMetricsF(font).horizontalAdvance(text);
    if (width > box.width()) {
        pixelSize *= box.width() / width;
        font.setPixelSize(std::max(1, static_cast<int>(pixelSize)));
    }
    return font;
}

} // namespace

QImage GaugeIcon::render(bool active, int size, const QColor& color, const QString& title)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);

    const QString text = title.trimmed();
    const double side = size;
    if (text.isEmpty()) {
        renderer(active).render(&painter, QRectF(0, 0, side, side));
    } else {
        const double gauge = side * kGaugeShareWithTitle;
        renderer(active).render(&painter, QRectF((side - gauge) / 2, 0, gauge, gauge));
        const QRectF textBox(0, side * (1 - kTextShareWithTitle), side, side * kTextShareWithTitle);
        painter.setFont(fittingFont(text, textBox.size()));
        painter.setPen(Qt::black);
        painter.drawText(textBox, Qt::AlignHCenter | Qt::AlignBottom, text);
    }

    // The drawing is a mask: keep its coverage, take the colour.
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    return image;
}

QIcon GaugeIcon::gaugeImage(bool active, const QColor& color, const QString& title)
{
    QIcon icon;
    for (const int size : kSizes)
        icon.addPixmap(QPixmap::fromImage(render(active, size, color, title)));
    return icon;
}

} // namespace quillon::ui
