#include "ui/tray/GaugeIcon.h"

#include "ui/tray/IconState.h"

#include <gtest/gtest.h>

namespace {

using quillon::ui::GaugeIcon;
using quillon::ui::IconState;

// The title appears only when asked for and only with a reading, from the
// smoothed value first, in whole degrees with a leading space.
TEST(IconState, TitleIsTheCpuTemperatureWhenAskedForAndRead)
{
    EXPECT_EQ(IconState::of(false, true, std::nullopt, std::nullopt).title, "");
    EXPECT_EQ(IconState::of(false, false, 72.0, 72.0).title, "");
    EXPECT_EQ(IconState::of(false, true, 71.6, 90.0).title, " 72°");
    EXPECT_EQ(IconState::of(false, true, std::nullopt, 64.2).title, " 64°");
    EXPECT_EQ(IconState::of(true, true, 100.4, std::nullopt).title, " 100°");
    EXPECT_TRUE(IconState::of(true, false, std::nullopt, std::nullopt).active);
}

constexpr int size = 96;
const QColor ink(40, 120, 200);

// Whether there is ink at (x, y) of the 24x24 design grid.
bool inkAt(const QImage& image, double x, double y)
{
    const double scale = image.width() / 24.0;
    return qAlpha(image.pixel(static_cast<int>(x * scale), static_cast<int>(y * scale))) > 128;
}

bool inkInRows(const QImage& image, int fromRow, int toRow)
{
    for (int y = fromRow; y < toRow; ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0)
                return true;
        }
    }
    return false;
}

// Idle points the needle straight up (half scale); active points it to the
// end of the scale, down to the right.
TEST(GaugeIcon, TheNeedleShowsIdleOrActive)
{
    const QImage idle = GaugeIcon::render(false, size, ink);
    const QImage active = GaugeIcon::render(true, size, ink);
    EXPECT_TRUE(inkAt(idle, 12, 9.5));
    EXPECT_FALSE(inkAt(idle, 15.5, 15.5));
    EXPECT_FALSE(inkAt(active, 12, 9.5));
    EXPECT_TRUE(inkAt(active, 15.5, 15.5));
}

// One colour only, so the icon can follow a light or a dark panel; the
// shape lives in the alpha channel.
TEST(GaugeIcon, IsDrawnInTheGivenColourOnly)
{
    for (const QImage& image : {GaugeIcon::render(true, size, ink), GaugeIcon::render(false, size, ink, " 72°")}) {
        int inked = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() < 64)
                    continue;
                ++inked;
                EXPECT_NEAR(pixel.red(), ink.red(), 3);
                EXPECT_NEAR(pixel.green(), ink.green(), 3);
                EXPECT_NEAR(pixel.blue(), ink.blue(), 3);
            }
        }
        EXPECT_GT(inked, size * 2);
    }
}

// Trays cannot show text beside an icon: the title goes into the icon, under
// a smaller gauge; the bottom sixth is empty without one.
TEST(GaugeIcon, ATitleIsDrawnIntoTheIcon)
{
    const int bottom = size * 5 / 6;
    EXPECT_FALSE(inkInRows(GaugeIcon::render(false, size, ink), bottom, size));
    EXPECT_TRUE(inkInRows(GaugeIcon::render(false, size, ink, " 72°"), bottom, size));
    EXPECT_NE(GaugeIcon::render(false, size, ink, " 72°"), GaugeIcon::render(false, size, ink, " 73°"));

    const QIcon icon = GaugeIcon::gaugeImage(true, ink, " 72°");
    EXPECT_EQ(icon.availableSizes().size(), static_cast<qsizetype>(std::size(GaugeIcon::kSizes)));
}

} // namespace
