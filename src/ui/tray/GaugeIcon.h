#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QString>

namespace quillon::ui {

// The tray's gauge icon, drawn from our monochrome SVGs in one colour (the
// panel's text colour), so that it reads on light and dark panels alike.
// Trays on Linux cannot show text beside an icon, so a title (the
// temperature) is drawn into the icon itself, under a smaller gauge.
class GaugeIcon {
public:
    GaugeIcon() = delete;

    // The sizes trays ask for, in device pixels.
    static constexpr int kSizes[] = {16, 22, 24, 32, 48, 64};

    // The icon at every tray size; title may be empty.
    static QIcon gaugeImage(bool active, const QColor& color, const QString& title = {});
    // One square image of the icon.
    static QImage render(bool active, int size, const QColor& color, const QString& title = {});
};

} // namespace quillon::ui
