#include "ui/panel/PanelPlacement.h"

#include <gtest/gtest.h>

namespace {

using quillon::ui::PanelPlacement;
constexpr int gap = PanelPlacement::kGap;
const QSize panel(360, 500);

// Icon centres: QRect(x, y, 24, 24).center() is (x + 11, y + 11).

// A 1280x800 screen at x = offset, with a 24-pixel desktop panel along one edge.
PanelPlacement::Screen screenWithPanel(const char* edge, int offset = 0)
{
    const QRect whole(offset, 0, 1280, 800);
    QRect free = whole;
    const std::string where = edge;
    if (where == "top")
        free.setTop(24);
    else if (where == "bottom")
        free.setBottom(800 - 24 - 1);
    else if (where == "left")
        free.setLeft(offset + 24);
    else if (where == "right")
        free.setRight(offset + 1280 - 24 - 1);
    return {whole, free};
}

struct Case {
    const char* name;
    PanelPlacement::Screen screen;
    QRect icon;
    QPoint pointer;
    QPoint expected;
};

// The panel opens next to the icon, away from the desktop panel the icon
// sits in, centred on it where there is room; without an icon, against the
// edge nearest the pointer; never outside the free area of its own screen.
TEST(PanelPlacement, OpensBesideTheIconOrAtTheEdgeNearestThePointer)
{
    const Case cases[] = {
        {"top panel, icon mid-screen: below it, centred", screenWithPanel("top"), QRect(600, 0, 24, 24), {},
            {611 - 180, 24 + gap}},
        {"top panel, icon in the corner: below it, pushed inside", screenWithPanel("top"), QRect(1256, 0, 24, 24), {},
            {1280 - gap - 360, 24 + gap}},
        {"bottom panel: above the icon", screenWithPanel("bottom"), QRect(1200, 776, 24, 24), {},
            {1280 - gap - 360, 776 - gap - 500}},
        {"left panel: right of the icon", screenWithPanel("left"), QRect(0, 400, 24, 24), {}, {24 + gap, 411 - 250}},
        {"right panel: left of the icon", screenWithPanel("right"), QRect(1256, 100, 24, 24), {},
            {1256 - gap - 360, gap}},
        {"second screen: stays on it", screenWithPanel("top", 1280), QRect(1280 + 10, 0, 24, 24), {},
            {1280 + gap, 24 + gap}},
        {"no reserved strip: nearest edge of the icon", screenWithPanel("none"), QRect(700, 2, 20, 20), {},
            {709 - 180, 22 + gap}},
        {"no icon, pointer at the top: flush under the top edge", screenWithPanel("top"), QRect(), {900, 10},
            {900 - 180, 24 + gap}},
        {"no icon, pointer at the bottom", screenWithPanel("bottom"), QRect(), {300, 790},
            {300 - 180, 776 - gap - 500}},
        {"no icon, pointer at the right", screenWithPanel("right"), QRect(), {1275, 420},
            {1256 - gap - 360, 420 - 250}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QPoint at = PanelPlacement::place(panel, c.icon, c.pointer, c.screen);
        EXPECT_EQ(at, c.expected) << at.x() << "," << at.y();
        const QRect placed(at, panel);
        EXPECT_TRUE(c.screen.available.contains(placed)) << "outside the free area";
        if (c.icon.isValid()) {
            EXPECT_FALSE(placed.intersects(c.icon)) << "covers the icon";
        }
    }
}

TEST(PanelPlacement, APanelTallerThanTheScreenStartsAtTheTop)
{
    const auto screen = screenWithPanel("top");
    const QPoint at = PanelPlacement::place(QSize(360, 2000), QRect(600, 0, 24, 24), {}, screen);
    EXPECT_EQ(at.y(), 24 + gap);
}

} // namespace
