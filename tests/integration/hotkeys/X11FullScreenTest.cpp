// The full-screen rule's eyes on X11: a real window manager (openbox) on the
// private Xvfb, a real window of another program (xmessage) asking it for
// full screen as applications do, and one of this process's own; and the
// desktop entries that exclude such a window, by its process or its class.
#include "platform/linux/LinuxRunningApps.h"
#include "platform/linux/X11FullScreenWindows.h"

#include "support/EventLoop.h"
#include "support/Files.h"

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>
#include <cstring>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

namespace quillon::test {
namespace {

using Window = platform::FullScreenWindows::Window;
using namespace std::chrono_literals;

// A connection of the test's own, acting as the applications do.
class Desktop {
public:
    Desktop()
        : m_c(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_c)).data->root)
    {
    }
    ~Desktop() { xcb_disconnect(m_c); }

    xcb_atom_t atom(const char* name)
    {
        auto* reply = xcb_intern_atom_reply(
            m_c, xcb_intern_atom(m_c, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : XCB_NONE;
        std::free(reply);
        return atom;
    }
    // Whether a window manager says it runs (EWMH's check window).
    bool managed()
    {
        auto* reply = xcb_get_property_reply(
            m_c, xcb_get_property(m_c, 0, m_root, atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1), nullptr);
        const bool present = reply && xcb_get_property_value_length(reply) == 4;
        std::free(reply);
        return present;
    }
    // What a program does to go full screen or leave it: asks the window manager.
    void fullScreen(xcb_window_t window, bool on)
    {
        message(window, atom("_NET_WM_STATE"), {on ? 1u : 0u, atom("_NET_WM_STATE_FULLSCREEN"), 0, 1});
    }
    void activate(xcb_window_t window) { message(window, atom("_NET_ACTIVE_WINDOW"), {2, XCB_CURRENT_TIME, 0, 0}); }
    void setPid(xcb_window_t window, std::uint32_t pid)
    {
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
        xcb_flush(m_c);
    }

private:
    void message(xcb_window_t window, xcb_atom_t type, std::array<std::uint32_t, 4> data)
    {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = type;
        std::copy(data.begin(), data.end(), event.data.data32);
        xcb_send_event(m_c, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
            reinterpret_cast<const char*>(&event));
        xcb_flush(m_c);
    }

    xcb_connection_t* m_c;
    xcb_window_t m_root;
};

class X11FullScreenTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        wm.start("openbox", {"--sm-disable"});
        ASSERT_TRUE(wm.waitForStarted()) << "openbox is installed by scripts/setup-deps.sh";
        ASSERT_TRUE(waitUntil([&] { return desktop.managed(); }, 5s));
    }
    void TearDown() override
    {
        for (QProcess* process : {&other, &wm}) {
            process->kill();
            process->waitForFinished();
        }
    }
    // Starts xmessage; its window once the window manager shows it (0: it
    // did not, and why is in xmessage's output).
    xcb_window_t startOther()
    {
        other.start("xmessage", {"a film"});
        xcb_window_t window = 0;
        QElapsedTimer sinceMap;
        sinceMap.start();
        waitUntil(
            [&] {
                QProcess search;
                search.start("xdotool", {"search", "--onlyvisible", "--classname", "xmessage"});
                search.waitForFinished(2000);
                window = search.readAllStandardOutput().trimmed().split('\n').value(0).toUInt();
                // A window mapped while openbox is still starting can stay
                // unmanaged and unmapped for good: map it again, as the
                // program would.
                if (window == 0 && sinceMap.elapsed() > 1000) {
                    QProcess::execute("xdotool", {"search", "--classname", "xmessage", "windowmap", "%@"});
                    sinceMap.restart();
                }
                return window != 0 || other.state() == QProcess::NotRunning;
            },
            10s);
        return window;
    }

    Desktop desktop;
    QProcess wm;
    QProcess other;
};

TEST_F(X11FullScreenTest, AnotherProgramsActiveFullScreenWindowCountsAndOursNever)
{
    platform::linux_::X11FullScreenWindows windows(QString(), false);
    ASSERT_EQ(windows.support(), platform::FullScreenWindows::Support::available);
    windows.setWatching(true);
    QSignalSpy changed(&windows, &platform::FullScreenWindows::changed);
    const xcb_window_t film = startOther();
    ASSERT_NE(film, 0u) << other.readAllStandardError().toStdString();
    desktop.setPid(film, static_cast<std::uint32_t>(other.processId()));
    desktop.activate(film);
    EXPECT_FALSE(waitUntil([&] { return windows.current().has_value(); }, 300ms)) << "active, not full screen";

    desktop.fullScreen(film, true);
    ASSERT_TRUE(waitUntil([&] { return windows.current().has_value(); }));
    EXPECT_EQ(*windows.current(), (Window{other.processId(), "Xmessage", "Xmessage"}));
    desktop.fullScreen(film, false);
    EXPECT_TRUE(waitUntil([&] { return !windows.current(); })) << "told at once, not polled";

    // A full-screen window of this process (the panel, the render overlay) is never counted.
    QWindow own;
    own.showFullScreen();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&own));
    // The window manager may still be giving a newly shown window the focus:
    // an activation is asked again until it holds.
    const auto activated = [&](xcb_window_t window, bool counted) {
        return waitUntil([&] {
            desktop.activate(window);
            return windows.current().has_value() == counted;
        });
    };
    desktop.fullScreen(film, true);
    ASSERT_TRUE(activated(film, true));
    EXPECT_TRUE(activated(static_cast<xcb_window_t>(own.winId()), false));
    EXPECT_TRUE(activated(film, true)) << "back to the film";
    other.kill();
    other.waitForFinished();
    EXPECT_TRUE(waitUntil([&] { return !windows.current(); })) << "the film closed";
    EXPECT_GE(changed.size(), 4);

    windows.setWatching(false);
    EXPECT_FALSE(windows.current());
}

// The exclusion list names desktop entries: a window is theirs by its
// process (the entry's program) or by its class (StartupWMClass, or the id).
TEST_F(X11FullScreenTest, AWindowIsMatchedToItsDesktopEntry)
{
    QTemporaryDir data;
    const QString apps = data.path() + "/applications/";
    ASSERT_TRUE(writeFile(apps + "org.example.Film.desktop",
        "[Desktop Entry]\nType=Application\nName=Film\nExec=/usr/bin/xmessage %f\n"));
    ASSERT_TRUE(writeFile(apps + "org.example.Game.desktop",
        "[Desktop Entry]\nType=Application\nName=Game\nExec=/opt/game/run\nStartupWMClass=GameWindow\n"));
    ASSERT_TRUE(writeFile(
        apps + "org.example.Other.desktop", "[Desktop Entry]\nType=Application\nName=Other\nExec=/opt/other\n"));
    platform::linux_::LinuxRunningApps running({data.path()}, "/proc", QDBusConnection(QString()));
    ASSERT_TRUE(waitUntil([&] { return running.index().ready(); }));

    startOther();
    const QStringList ids{"org.example.Other", "org.example.Game", "org.example.Film"};
    EXPECT_EQ(running.appOfWindow(other.processId(), "Xmessage", ids), "org.example.Film") << "by its process";
    EXPECT_EQ(running.appOfWindow(0, "gamewindow", ids), "org.example.Game") << "by StartupWMClass";
    EXPECT_EQ(running.appOfWindow(0, "Other", ids), "org.example.Other") << "by the id's last part";
    EXPECT_EQ(running.appOfWindow(0, "Xmessage", ids), "") << "no process, no class of theirs";
    EXPECT_EQ(running.appOfWindow(other.processId(), "Xmessage", {"org.example.Other"}), "");
}

} // namespace
} // namespace quillon::test
