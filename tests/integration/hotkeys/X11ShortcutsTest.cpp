// The X11 key grabs on a private Xvfb, pressed with xdotool, and the Linux
// choice falling back to them when the portal refuses.
#include "platform/linux/LinuxGlobalShortcuts.h"
#include "platform/linux/X11GlobalShortcuts.h"

#include "support/BusService.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "support/QStringPrinter.h"

#include <QSignalSpy>
#include <QStringList>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <xcb/xcb.h>

namespace quillon::test {
namespace {

using platform::GlobalShortcuts;
using platform::linux_::LinuxGlobalShortcuts;
using platform::linux_::X11GlobalShortcuts;
using namespace std::chrono_literals;

const QList<GlobalShortcuts::Shortcut> kShortcuts{
    {"toggle-keep-awake", "Toggle keep-awake", 'k'}, {"toggle-fan-boost", "Toggle fan control", 'l'}};

void xdotool(const QStringList& args)
{
    const auto result = ChildProcess::run("xdotool", args, {}, 10000);
    ASSERT_EQ(result.exitCode, 0) << result.err;
}

// The ids reported so far.
QStringList ids(const QSignalSpy& spy)
{
    QStringList list;
    for (const auto& args : spy)
        list << args.value(0).toString();
    return list;
}

// Lets late events arrive.
void linger()
{
    waitUntil([] { return false; }, 300ms);
}

// Another X client of the same display, with a connection of its own.
class OtherClient {
public:
    OtherClient()
        : m_c(xcb_connect(nullptr, nullptr))
    {
    }
    ~OtherClient() { xcb_disconnect(m_c); }
    xcb_window_t root() const { return xcb_setup_roots_iterator(xcb_get_setup(m_c)).data->root; }
    xcb_keycode_t keycodeOf(xcb_keysym_t keysym) const
    {
        const xcb_setup_t* setup = xcb_get_setup(m_c);
        const int count = setup->max_keycode - setup->min_keycode + 1;
        auto* reply = xcb_get_keyboard_mapping_reply(
            m_c, xcb_get_keyboard_mapping(m_c, setup->min_keycode, static_cast<uint8_t>(count)), nullptr);
        xcb_keycode_t found = 0;
        const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(reply);
        for (int i = 0; i < count && found == 0; ++i) {
            if (syms[i * reply->keysyms_per_keycode] == keysym)
                found = static_cast<xcb_keycode_t>(setup->min_keycode + i);
        }
        std::free(reply);
        return found;
    }
    // Grabs Super+Alt+key (no other modifier); whether the server agreed.
    bool grab(xcb_keysym_t keysym)
    {
        auto* error = xcb_request_check(m_c,
            xcb_grab_key_checked(m_c, 1, root(), XCB_MOD_MASK_4 | XCB_MOD_MASK_1, keycodeOf(keysym),
                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }
    // Moves every key of modifier `from` to modifier `to` (0 = Shift .. 7 = Mod5).
    bool moveModifier(int from, int to)
    {
        auto* reply = xcb_get_modifier_mapping_reply(m_c, xcb_get_modifier_mapping(m_c), nullptr);
        const int per = reply->keycodes_per_modifier;
        std::vector<xcb_keycode_t> codes(
            xcb_get_modifier_mapping_keycodes(reply), xcb_get_modifier_mapping_keycodes(reply) + 8 * per);
        std::free(reply);
        for (int k = 0; k < per; ++k) {
            codes[static_cast<size_t>(to * per + k)] = codes[static_cast<size_t>(from * per + k)];
            codes[static_cast<size_t>(from * per + k)] = 0;
        }
        auto* set = xcb_set_modifier_mapping_reply(
            m_c, xcb_set_modifier_mapping(m_c, static_cast<uint8_t>(per), codes.data()), nullptr);
        const bool ok = set && set->status == XCB_MAPPING_STATUS_SUCCESS;
        std::free(set);
        return ok;
    }

private:
    xcb_connection_t* m_c;
};

class X11ShortcutsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(X11GlobalShortcuts::available()); }
    void TearDown() override
    {
        // No lock left on for the next test.
        if (numLockOn)
            xdotool({"key", "Num_Lock"});
        if (capsLockOn)
            xdotool({"key", "Caps_Lock"});
    }
    void toggleNumLock()
    {
        xdotool({"key", "Num_Lock"});
        numLockOn = !numLockOn;
    }
    void toggleCapsLock()
    {
        xdotool({"key", "Caps_Lock"});
        capsLockOn = !capsLockOn;
    }
    bool numLockOn = false;
    bool capsLockOn = false;
};

TEST_F(X11ShortcutsTest, ReportsSuperAltKAndLAlsoWithTheLocksOn)
{
    X11GlobalShortcuts shortcuts;
    QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
    shortcuts.registerShortcuts(kShortcuts);
    EXPECT_TRUE(shortcuts.state().held) << shortcuts.state().problem.toStdString();
    EXPECT_EQ(shortcuts.state().through, "X11");
    EXPECT_EQ(shortcuts.state().problem, "");

    xdotool({"key", "super+alt+k"});
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
    xdotool({"key", "super+alt+l"});
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 2; }));
    toggleNumLock();
    xdotool({"key", "super+alt+k"});
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 3; })) << "with NumLock on";
    toggleCapsLock();
    xdotool({"key", "super+alt+l"});
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 4; })) << "with NumLock and CapsLock on";
    EXPECT_EQ(
        ids(pressed), QStringList({"toggle-keep-awake", "toggle-fan-boost", "toggle-keep-awake", "toggle-fan-boost"}));

    // Other combinations are not ours.
    xdotool({"key", "alt+k", "super+k", "super+alt+shift+k", "ctrl+super+alt+l", "super+alt+j"});
    linger();
    EXPECT_EQ(pressed.size(), 4);

    // Held down: one press, however long.
    xdotool({"keydown", "super+alt+k", "sleep", "1", "keyup", "super+alt+k"});
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 5; }));
    linger();
    EXPECT_EQ(pressed.size(), 5);

    // Given up: nothing more is reported, and another client may take them.
    shortcuts.unregisterShortcuts();
    EXPECT_FALSE(shortcuts.state().held);
    EXPECT_EQ(shortcuts.state().through, "");
    xdotool({"key", "super+alt+k"});
    linger();
    EXPECT_EQ(pressed.size(), 5);
    OtherClient other;
    EXPECT_TRUE(other.grab('k'));
    EXPECT_TRUE(other.grab('l'));
}

TEST_F(X11ShortcutsTest, FindsNumLockOnAnyModifier)
{
    OtherClient other;
    // Modifier indices: 0 Shift, 1 Lock, 2 Control, 3 Mod1, 4 Mod2, 5 Mod3, 6 Mod4, 7 Mod5.
    ASSERT_TRUE(other.moveModifier(4, 5)) << "Num_Lock from Mod2 to Mod3";
    X11GlobalShortcuts shortcuts;
    QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
    shortcuts.registerShortcuts(kShortcuts);
    ASSERT_TRUE(shortcuts.state().held);
    toggleNumLock();
    xdotool({"key", "super+alt+k"});
    const bool delivered = waitUntil([&] { return pressed.size() == 1; });
    shortcuts.unregisterShortcuts();
    toggleNumLock();
    EXPECT_TRUE(other.moveModifier(5, 4));
    EXPECT_TRUE(delivered) << "NumLock on Mod3 swallowed the press";
}

TEST_F(X11ShortcutsTest, AKeyTakenByAnotherClientFailsQuietly)
{
    OtherClient other;
    ASSERT_TRUE(other.grab('k'));
    LogCapture log;
    X11GlobalShortcuts shortcuts;
    QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
    shortcuts.registerShortcuts(kShortcuts);
    EXPECT_FALSE(shortcuts.state().held);
    EXPECT_EQ(shortcuts.state().problem, "Super+Alt+K taken by another program");
    EXPECT_EQ(shortcuts.state().through, "X11") << "Super+Alt+L is still ours";
    xdotool({"key", "super+alt+k", "super+alt+l"});
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
    linger();
    EXPECT_EQ(ids(pressed), QStringList({"toggle-fan-boost"}));
    EXPECT_EQ(LogCapture::lines(), QStringList()) << "no message";

    shortcuts.unregisterShortcuts();
    EXPECT_EQ(shortcuts.state().problem, "");
    EXPECT_EQ(LogCapture::lines(), QStringList());
}

TEST_F(X11ShortcutsTest, TheLinuxChoiceFallsBackToX11WhenThePortalRefuses)
{
    PrivateBus bus;
    ASSERT_TRUE(bus.connection().isConnected());
    for (const char* kind : {"portal-refusing", "no-interface", "portal-silent"}) {
        SCOPED_TRACE(kind);
        BusService portal(QUILLON_PYTHON, {QUILLON_SHORTCUTS_STANDIN, kind}, bus, "org.freedesktop.portal.Desktop");
        ASSERT_TRUE(portal.started());
        // A silent portal is given up after the short wait here: X11 can take over.
        LinuxGlobalShortcuts shortcuts(bus.connection(), 300, 60000);
        QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
        shortcuts.registerShortcuts(kShortcuts);
        ASSERT_TRUE(waitUntil([&] { return !shortcuts.state().pending; }, 2s));
        EXPECT_TRUE(shortcuts.state().held) << shortcuts.state().problem.toStdString();
        EXPECT_EQ(shortcuts.state().through, "X11");
        xdotool({"key", "super+alt+l"});
        ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
        EXPECT_EQ(ids(pressed), QStringList({"toggle-fan-boost"}));
        shortcuts.unregisterShortcuts();
    }
}

} // namespace
} // namespace quillon::test
