// The GlobalShortcuts portal backend, and the Linux choice without X11,
// against a stand-in portal on a private session bus (shortcuts_standin.py).
#include "platform/linux/LinuxGlobalShortcuts.h"
#include "platform/linux/PortalGlobalShortcuts.h"

#include "support/BusService.h"
#include "support/QStringPrinter.h"

#include <QDBusMessage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

using platform::GlobalShortcuts;
using platform::linux_::LinuxGlobalShortcuts;
using platform::linux_::PortalGlobalShortcuts;

const QList<GlobalShortcuts::Shortcut> kShortcuts{
    {"toggle-keep-awake", "Toggle keep-awake", 'k'}, {"toggle-fan-boost", "Toggle fan control", 'l'}};

class PortalShortcutsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(bus.connection().isConnected()); }

    void startPortal(const QString& kind)
    {
        portal = std::make_unique<BusService>(
            QUILLON_PYTHON, QStringList{QUILLON_SHORTCUTS_STANDIN, kind}, bus, "org.freedesktop.portal.Desktop");
        ASSERT_TRUE(portal->started());
    }
    // The stand-in's open sessions, each with what is bound to it (id: preferred trigger).
    QJsonArray sessions()
    {
        const QDBusMessage reply = bus.connection().call(QDBusMessage::createMethodCall(
            "org.freedesktop.portal.Desktop", "/org/quillon/Test", "org.quillon.Test", "Sessions"));
        return QJsonDocument::fromJson(reply.arguments().value(0).toString().toUtf8()).array();
    }
    void press(const QString& id)
    {
        bus.connection().call(QDBusMessage::createMethodCall(
                                  "org.freedesktop.portal.Desktop", "/org/quillon/Test", "org.quillon.Test", "Activate")
            << id);
    }
    static bool settled(const GlobalShortcuts& shortcuts)
    {
        return waitUntil([&] { return !shortcuts.state().pending; });
    }

    PrivateBus bus;
    std::unique_ptr<BusService> portal;
};

TEST_F(PortalShortcutsTest, BindsReportsPressesAndClosesItsSession)
{
    startPortal("portal");
    PortalGlobalShortcuts shortcuts(bus.connection());
    QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
    shortcuts.registerShortcuts(kShortcuts);
    EXPECT_TRUE(shortcuts.state().pending);
    EXPECT_FALSE(shortcuts.state().held) << "held only once the portal has bound them";
    ASSERT_TRUE(settled(shortcuts));
    EXPECT_TRUE(shortcuts.state().held) << shortcuts.state().problem.toStdString();
    EXPECT_EQ(shortcuts.state().through, "portal");
    EXPECT_EQ(shortcuts.state().problem, "");
    const QJsonObject bound{{"toggle-keep-awake", "LOGO+ALT+k"}, {"toggle-fan-boost", "LOGO+ALT+l"}};
    EXPECT_EQ(sessions(), QJsonArray{bound});

    press("toggle-fan-boost");
    press("toggle-keep-awake");
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 2; }));
    EXPECT_EQ(pressed[0][0].toString(), "toggle-fan-boost");
    EXPECT_EQ(pressed[1][0].toString(), "toggle-keep-awake");

    // A second session (of another program) bound to the same id: each
    // hears only its own session's Activated.
    PortalGlobalShortcuts other(bus.connection());
    other.registerShortcuts({{"toggle-fan-boost", "Other", 'l'}});
    ASSERT_TRUE(settled(other));
    QSignalSpy otherPressed(&other, &GlobalShortcuts::activated);
    press("toggle-fan-boost");
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 3 && otherPressed.size() == 1; }));
    other.unregisterShortcuts();
    ASSERT_TRUE(waitUntil([&] { return sessions().size() == 1; }));
    press("toggle-fan-boost");
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 4; }));
    EXPECT_EQ(otherPressed.size(), 1);

    shortcuts.unregisterShortcuts();
    EXPECT_FALSE(shortcuts.state().held);
    EXPECT_TRUE(waitUntil([&] { return sessions().isEmpty(); })) << "unregistering closes the session";
    press("toggle-keep-awake");
    waitUntil([] { return false; }, std::chrono::milliseconds(200));
    EXPECT_EQ(pressed.size(), 4);

    // And again: a new session.
    shortcuts.registerShortcuts(kShortcuts);
    ASSERT_TRUE(settled(shortcuts));
    EXPECT_TRUE(shortcuts.state().held);
    EXPECT_EQ(sessions().size(), 1);
}

// Where the portal cannot bind, each backend says why: the portal's own, and
// the Linux choice in a process without X11 (as on Wayland), which has
// nothing to fall back to. A failed bind closes its session.
TEST_F(PortalShortcutsTest, SaysWhyWhenThePortalCannotBind)
{
    struct Case {
        const char* portal;
        const char* problem;
    };
    for (const Case c : {Case{"portal-refusing", "the GlobalShortcuts portal refused the shortcuts (response 2)"},
             Case{"portal-silent", "the GlobalShortcuts portal did not answer within 0.5 s"},
             Case{"no-interface", "no GlobalShortcuts portal"}, Case{nullptr, "no GlobalShortcuts portal"}}) {
        SCOPED_TRACE(c.portal ? c.portal : "no portal at all");
        portal.reset();
        if (c.portal)
            startPortal(c.portal);
        PortalGlobalShortcuts shortcuts(bus.connection(), 500);
        LinuxGlobalShortcuts withoutX11(bus.connection(), 100, 500);
        shortcuts.registerShortcuts(kShortcuts);
        withoutX11.registerShortcuts(kShortcuts);
        ASSERT_TRUE(settled(shortcuts) && settled(withoutX11));
        EXPECT_FALSE(shortcuts.state().held || withoutX11.state().held);
        EXPECT_EQ(shortcuts.state().through, "");
        EXPECT_EQ(shortcuts.state().problem, c.problem);
        EXPECT_EQ(withoutX11.state().problem, QString(c.problem) + " and not an X11 session");
        if (c.portal && QString(c.portal) != "no-interface") {
            EXPECT_TRUE(waitUntil([&] { return sessions().isEmpty(); })) << "a failed bind closes its session";
        }
    }
}

// Without X11 the Linux choice holds through the portal what it binds: all,
// or only some, which is no full hold (and no X11 grab competes with it).
TEST_F(PortalShortcutsTest, WithoutX11TheLinuxChoiceHoldsThroughThePortalWhatItBinds)
{
    for (const auto& [kind, problem] : {std::pair{"portal", ""},
             std::pair{"portal-partial", "the GlobalShortcuts portal did not bind toggle-fan-boost"}}) {
        SCOPED_TRACE(kind);
        portal.reset();
        startPortal(kind);
        LinuxGlobalShortcuts shortcuts(bus.connection(), 100, 500);
        QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
        shortcuts.registerShortcuts(kShortcuts);
        ASSERT_TRUE(settled(shortcuts));
        EXPECT_EQ(shortcuts.state().held, QString(problem).isEmpty());
        EXPECT_EQ(shortcuts.state().through, "portal");
        EXPECT_EQ(shortcuts.state().problem, problem);
        press("toggle-keep-awake");
        ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
        EXPECT_EQ(pressed[0][0].toString(), "toggle-keep-awake");
    }
}

} // namespace
} // namespace quillon::test
