// The portal alone, as a sandboxed app sees it, against Debian's own
// xdg-desktop-portal and its GTK backend (which outside GNOME can inhibit
// only idle, through a screen saver that is not there): a suspend request is
// refused with the backend's reason; an idle request is answered with
// success, yet nothing can show that it holds, so it stays asked for and
// unconfirmed, saying why. A restarted portal is asked again and never
// shown as holding it.
#include "InhibitBusFixture.h"
#include "VirtualDisplay.h"

#include <QFile>

using namespace quillon::test;

namespace {

class PortalDesktopTest : public quillon::test::InhibitBusFixture {
protected:
    // A portal just started answers its first requests in its own time, as in use.
    PortalDesktopTest() { timing.portalAnswerMs = 2000; }

    // xdg-desktop-portal with its GTK backend and the permission store,
    // Debian's own, as a desktop that names itself XFCE runs them (the GTK
    // backend needs an X display: a virtual one).
    void startPortal()
    {
        if (!QFile::exists(portalProgram) || !QFile::exists(gtkProgram))
            GTEST_SKIP() << "xdg-desktop-portal-gtk is not installed (scripts/setup-deps.sh installs it)";
        x = std::make_unique<VirtualDisplay>();
        env = {x->environment(), "XDG_CURRENT_DESKTOP=XFCE", "XDG_DATA_HOME=" + home.path(),
            "XDG_CONFIG_HOME=" + home.path(), "GSETTINGS_BACKEND=memory"};
        store = std::make_unique<BusService>("/usr/libexec/xdg-permission-store", QStringList{"--replace"}, sessionBus,
            "org.freedesktop.impl.portal.PermissionStore", QString(), env);
        ASSERT_TRUE(store->started());
        ASSERT_TRUE(restartPortal());
    }
    // Ends the portal and its backend, if they run, and starts them again.
    bool restartPortal()
    {
        portal.reset();
        gtk.reset();
        gtk = std::make_unique<BusService>(
            gtkProgram, QStringList{}, sessionBus, "org.freedesktop.impl.portal.desktop.gtk", QString(), env);
        if (!gtk->started())
            return false;
        portal = std::make_unique<BusService>(
            portalProgram, QStringList{}, sessionBus, "org.freedesktop.portal.Desktop", QString(), env);
        return portal->started();
    }
    // The requests the portal has open for the app's connection, as its object tree shows them.
    qsizetype openRequests()
    {
        QString sender = sessionBus.connection().baseService().mid(1);
        sender.replace('.', '_');
        const QDBusMessage reply = sessionBus.connection().call(QDBusMessage::createMethodCall(
            "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop/request/" + sender,
            "org.freedesktop.DBus.Introspectable", "Introspect"));
        return reply.arguments().value(0).toString().count("<node name=");
    }

    static constexpr const char* portalProgram = "/usr/libexec/xdg-desktop-portal";
    static constexpr const char* gtkProgram = "/usr/libexec/xdg-desktop-portal-gtk";
    // No logind and no desktop service: the portal is the only route.
    QTemporaryDir home;
    std::unique_ptr<VirtualDisplay> x;
    QStringList env;
    std::unique_ptr<BusService> store;
    std::unique_ptr<BusService> gtk;
    std::unique_ptr<BusService> portal;
};

TEST_F(PortalDesktopTest, SuspendIsRefusedAndIdleStaysAskedForButUnconfirmed)
{
    START_OR_END(startPortal());
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_TRUE(owner.start(Kind::display));
    const auto system = settled(owner, Kind::system);
    EXPECT_EQ(system.phase, Phase::failed);
    EXPECT_TRUE(system.problem.contains("the portal's backend could not inhibit")) << system.problem.toStdString();
    const auto display = settled(owner, Kind::display);
    EXPECT_EQ(display.phase, Phase::confirming);
    EXPECT_EQ(display.through, "portal");
    EXPECT_TRUE(display.problem.contains("cannot be asked whether it holds")) << display.problem.toStdString();

    EXPECT_TRUE(waitUntil([&] { return openRequests() == 1; }))
        << "the idle request, not the refused one: " << openRequests();

    ASSERT_TRUE(restartPortal());
    // Asked again of the new portal, and never shown in force: it ends
    // asked-for-but-unconfirmed again, or not in force with the reason.
    // (Here the restarted portal has so far never called its backend for
    // the new request, so the second is what is seen.)
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto again = owner.state(Kind::display);
            return !again.problem.isEmpty() && again.phase != Phase::inForce;
        },
        std::chrono::seconds(10)));
    EXPECT_NE(owner.state(Kind::display).phase, Phase::inForce);
    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return openRequests() == 0; }));
}

} // namespace
