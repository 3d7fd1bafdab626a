// The GlobalShortcuts portal backend against a stand-in portal on a private
// session bus (shortcuts_standin.py): it binds both shortcuts with their
// preferred triggers, reports the stand-in's Activated signals by id (only
// its own session's), closes the session to give them up, and says why when
// the portal is missing, refuses or never answers. Without a portal and
// without X11 the Linux choice reports that nothing can hold them.
#include "platform/linux/LinuxGlobalShortcuts.h"
#include "platform/linux/PortalGlobalShortcuts.h"

#include "support/BusService.h"
#include "support/QStringPrinter.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

using platform::GlobalShortcuts;
using platform::linux_::LinuxGlobalShortcuts;
using platform::linux_::PortalGlobalShortcuts;

const QList<GlobalShortcuts::Shortcut> kShortcuts{
    {"toggle-keep-awake", "Toggle keep-awake", 'k'}, {"toggle-fan-boost", "Toggle fan control", 'l'}};

using Bindings = QMap<QString, QString>; // id -> preferred trigger

class PortalShortcutsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(bus.connection().isConnected()); }

    void startPortal(const QString& kind)
    {
        portal = std::make_unique<BusService>(
            QUILLON_PYTHON, QStringList{QUILLON_SHORTCUTS_STANDIN, kind}, bus, "org.freedesktop.portal.Desktop");
        ASSERT_TRUE(portal->started());
    }
    // The stand-in's open sessions, each with what is bound to it.
    QList<Bindings> sessions()
    {
        const QDBusMessage reply = bus.connection().call(QDBusMessage::createMethodCall(
            "org.freedesktop.portal.Desktop", "/org/quillon/Test", "org.quillon.Test", "Sessions"));
        QList<Bindings> list;
        const auto array = reply.arguments().value(0).value<QDBusArgument>();
        array.beginArray();
        while (!array.atEnd()) {
            QString path;
            Bindings bound;
            array.beginStructure();
            array >> path >> bound;
            array.endStructure();
            list << bound;
        }
        array.endArray();
        return list;
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
    EXPECT_EQ(sessions(), QList<Bindings>({{{"toggle-keep-awake", "LOGO+ALT+k"}, {"toggle-fan-boost", "LOGO+ALT+l"}}}));

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
        shortcuts.registerShortcuts(kShortcuts);
        ASSERT_TRUE(settled(shortcuts));
        EXPECT_FALSE(shortcuts.state().held);
        EXPECT_EQ(shortcuts.state().through, "");
        EXPECT_EQ(shortcuts.state().problem, c.problem);
        if (c.portal && QString(c.portal) != "no-interface") {
            EXPECT_TRUE(waitUntil([&] { return sessions().isEmpty(); })) << "a failed bind closes its session";
        }
    }
}

// A portal that binds only some: those are held there (and reported), the
// rest are not, and no X11 grab competes with the portal.
TEST_F(PortalShortcutsTest, APartialBindIsNoFullHold)
{
    startPortal("portal-partial");
    LinuxGlobalShortcuts shortcuts(bus.connection(), 100, 500);
    QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
    shortcuts.registerShortcuts(kShortcuts);
    ASSERT_TRUE(settled(shortcuts));
    EXPECT_FALSE(shortcuts.state().held);
    EXPECT_EQ(shortcuts.state().through, "portal");
    EXPECT_EQ(shortcuts.state().problem, "the GlobalShortcuts portal did not bind toggle-fan-boost");
    press("toggle-keep-awake");
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
}

// The choice of mechanism in a process without X11 (as on Wayland): the
// portal where it binds, otherwise nothing, and why.
TEST_F(PortalShortcutsTest, WithoutX11OnlyThePortalCanHoldThem)
{
    // Without X11 the portal has longer to answer (its desktop may ask the user first).
    const std::pair<const char*, const char*> cases[] = {{nullptr, "no GlobalShortcuts portal"},
        {"portal-refusing", "the GlobalShortcuts portal refused the shortcuts (response 2)"},
        {"portal-silent", "the GlobalShortcuts portal did not answer within 0.5 s"}};
    for (const auto& [kind, problem] : cases) {
        portal.reset();
        if (kind)
            startPortal(kind);
        LinuxGlobalShortcuts shortcuts(bus.connection(), 100, 500);
        shortcuts.registerShortcuts(kShortcuts);
        ASSERT_TRUE(settled(shortcuts));
        EXPECT_FALSE(shortcuts.state().held);
        EXPECT_EQ(shortcuts.state().problem, QString(problem) + " and not an X11 session");
    }
    portal.reset();
    startPortal("portal");
    LinuxGlobalShortcuts shortcuts(bus.connection(), 100, 500);
    QSignalSpy pressed(&shortcuts, &GlobalShortcuts::activated);
    shortcuts.registerShortcuts(kShortcuts);
    ASSERT_TRUE(settled(shortcuts));
    EXPECT_TRUE(shortcuts.state().held);
    EXPECT_EQ(shortcuts.state().through, "portal");
    press("toggle-keep-awake");
    ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
    EXPECT_EQ(pressed[0][0].toString(), "toggle-keep-awake");
}

} // namespace
} // namespace quillon::test
