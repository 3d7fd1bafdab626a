#pragma once

#include "Inhibitor.h"
#include "platform/PowerAssertionBackend.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <map>
#include <vector>

namespace quillon::platform::linux_ {

// Power assertions on a Linux desktop. Each assertion is one inhibition,
// taken through the first route, in this order, that confirms it in force:
//   system sleep, network: PowerDevil (KDE), GNOME session Suspend,
//                          org.freedesktop.PowerManagement (Xfce), logind "idle:sleep", portal Suspend;
//   display sleep:         PowerDevil (KDE), GNOME session Idle, org.freedesktop.PowerManagement,
//                          org.freedesktop.ScreenSaver, logind "idle", portal Idle;
//   the lid:               logind "handle-lid-switch" (works in the active session only).
// On LXQt and a bare X session, nothing that blanks the screen heeds logind's
// idle lock, so there the display has no logind route: it fails, saying so.
// Which route applies is found by asking, not by the desktop's name: a
// service that is not running answers at once, and one that accepts but
// never confirms is left for the next route. The desktop's own power manager
// comes first because it is what suspends or blanks on idle; the portal
// last, because it cannot show that anything is in force.
//
// A desktop service that restarts forgets every inhibition it held, so the
// services' names are watched (logind's too): when one gets a new owner or
// goes, each assertion it held is taken again, from the first route on, and
// confirmed again. logind takes back the locks it held, so only those it had
// not yet answered or listed are asked again. Where no other route holds it
// meanwhile, it waits, asked for, for the service to come back, and fails
// only if it has not by restartGraceMs.
//
// Nothing here waits on a service: an assertion is asked for and shown as
// such (confirming) at once, and each route's answer and confirmation arrive
// later, so a hung service costs only its own timeout, never the panel.
//
// Every assertion carries its name as the reason the desktop shows.
class LinuxPowerAssertions : public PowerAssertionBackend {
    Q_OBJECT
public:
    // How long to wait for confirmations that cannot come at once.
    struct Timing {
        int kdeSettleMs = 5500;     // PowerDevil applies an inhibition 5 s after it is asked
        int portalAnswerMs = 2000;  // a portal request with no Response by then is taken as denied
        int restartGraceMs = 10000; // a service that went away and nothing else holds for: back by then
    };

    LinuxPowerAssertions(QDBusConnection sessionBus, QDBusConnection systemBus, Timing timing);
    LinuxPowerAssertions(QDBusConnection sessionBus, QDBusConnection systemBus);
    ~LinuxPowerAssertions() override;

    std::optional<AssertionId> create(PowerAssertionType type, const QString& name) override;
    void release(AssertionId id) override;
    PowerAssertionState state(AssertionId id) const override;
    void askOtherInhibitors(OtherInhibitorsAnswer done) override;

private:
    using Routes = std::vector<std::unique_ptr<Inhibitor>>;
    struct Assertion {
        const Routes* routes = nullptr;
        std::size_t route = 0; // the route holding or confirming it
        QString name;
        std::unique_ptr<Inhibitor::Held> held; // null once every route failed
        QStringList problems;                  // of the routes tried so far
        QString awaiting;                      // the route whose service went away while holding it, until it is back
        PowerAssertionState state;
    };

    AssertionId nextId();
    // Asks the given route for the assertion; past the last route, fails
    // it with what every route said.
    void ask(AssertionId id, Assertion& assertion, std::size_t route);
    void onSettled(AssertionId id);
    void onOwnerChanged(const QString& service, bool appeared);
    void onGraceOver(AssertionId id);
    static QString summary(const QStringList& problems);

    QDBusConnection m_systemBus;
    int m_restartGraceMs;
    Routes m_suspendRoutes;
    Routes m_idleRoutes;
    Routes m_lidRoutes;
    QDBusServiceWatcher m_serviceWatcher; // the session bus's
    QDBusServiceWatcher m_logindWatcher;
    std::map<AssertionId, Assertion> m_assertions;
    AssertionId m_lastId = 0;
};

} // namespace quillon::platform::linux_
