// The tray's own colours, from Debian's xfce4-panel (its status tray plugin,
// in the default panel) on a private Xvfb and session bus: a dark and a
// light GTK theme, a panel restart, and no panel at all.
#include "platform/linux/X11TrayColors.h"

#include "support/BusService.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

using quillon::platform::linux_::X11TrayColors;

namespace {

// xfce4-panel with its default layout (the status tray included) in a home
// of its own, drawn in the given GTK theme.
class XfcePanel {
public:
    XfcePanel(quillon::test::PrivateBus& bus, const QString& theme)
    {
        const QStringList env{"DISPLAY=" + qEnvironmentVariable("DISPLAY"), "HOME=" + m_home.path(),
            "XDG_CONFIG_HOME=" + m_home.filePath(".config"), "XDG_CACHE_HOME=" + m_home.filePath(".cache"),
            "XFCE_PANEL_MIGRATE_DEFAULT=1", "GTK_THEME=" + theme};
        m_xfconf = std::make_unique<quillon::test::BusService>(
            QUILLON_XFCONFD, QStringList{}, bus, "org.xfce.Xfconf", QString(), env);
        m_panel = std::make_unique<quillon::test::BusService>(
            "xfce4-panel", QStringList{"--sm-client-disable"}, bus, "org.xfce.Panel", QString(), env);
    }
    bool started() const { return m_panel->started(); }

private:
    QTemporaryDir m_home;
    std::unique_ptr<quillon::test::BusService> m_xfconf;
    std::unique_ptr<quillon::test::BusService> m_panel;
};

// Waits until the tray's foreground is light, dark or gone (a panel may
// announce a first colour before it has applied its theme).
enum class Ink { light, dark, none };
bool waitForInk(const X11TrayColors& colors, Ink ink)
{
    return quillon::test::waitUntil(
        [&] {
            const auto foreground = colors.foreground();
            if (ink == Ink::none || !foreground)
                return ink == Ink::none && !foreground;
            return ink == Ink::light ? foreground->lightness() > 200 : foreground->lightness() < 80;
        },
        std::chrono::seconds(10));
}

TEST(X11TrayColors, FollowTheTraysThemeAndTheTrayComingAndGoing)
{
    quillon::test::PrivateBus bus;
    X11TrayColors colors;
    EXPECT_FALSE(colors.foreground()) << "no tray yet";
    QSignalSpy changed(&colors, &quillon::platform::TrayColors::changed);

    {
        XfcePanel dark(bus, "Adwaita:dark");
        ASSERT_TRUE(dark.started());
        EXPECT_TRUE(waitForInk(colors, Ink::light)) << "light ink on a dark panel";
    }
    ASSERT_TRUE(waitForInk(colors, Ink::none)) << "the panel went, and its colours with it";
    {
        XfcePanel light(bus, "Adwaita");
        ASSERT_TRUE(light.started());
        EXPECT_TRUE(waitForInk(colors, Ink::dark)) << "dark ink on a light panel";
    }
    EXPECT_GE(changed.count(), 3);
}

TEST(X11TrayColors, ReadOnlyAWellFormedForeground)
{
    const std::uint32_t grey[] = {0x8080, 0x8080, 0x8080, 0, 0, 0};
    EXPECT_EQ(X11TrayColors::foregroundOf(grey, 6), QColor(0x80, 0x80, 0x80));
    const std::uint32_t outOfRange[] = {0x10000, 0, 0};
    EXPECT_FALSE(X11TrayColors::foregroundOf(outOfRange, 3));
    EXPECT_FALSE(X11TrayColors::foregroundOf(grey, 2));
    EXPECT_FALSE(X11TrayColors::foregroundOf(nullptr, 12));
}

} // namespace
