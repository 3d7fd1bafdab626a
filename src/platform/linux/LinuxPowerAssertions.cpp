#include "LinuxPowerAssertions.h"

#include "AppIdentity.h"
#include "CookieInhibitor.h"
#include "LogindInhibitor.h"
#include "LogindInhibitorList.h"
#include "PortalInhibitor.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <utility>

namespace quillon::platform::linux_ {

namespace {

// What blanks the screen here without looking at logind's idle lock, as the
// user is to read it; empty where logind's lock is heeded (its own idle
// action, swayidle, hypridle).
QString blankerIgnoringLogind()
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    if (desktops.contains(QStringLiteral("LXQt"), Qt::CaseInsensitive))
        return QStringLiteral("LXQt's idle watcher ignores it: set its idle actions to \"Nothing\"");
    if (desktops.isEmpty() && qEnvironmentVariable("XDG_SESSION_TYPE") == u"x11")
        return QStringLiteral("the X server blanks the screen whatever logind holds (xset s off -dpms stops it)");
    return {};
}

} // namespace

LinuxPowerAssertions::LinuxPowerAssertions(QDBusConnection sessionBus, QDBusConnection systemBus)
    : LinuxPowerAssertions(std::move(sessionBus), std::move(systemBus), Timing{})
{
}

LinuxPowerAssertions::LinuxPowerAssertions(QDBusConnection sessionBus, QDBusConnection systemBus, Timing timing)
    : m_systemBus(systemBus)
    , m_restartGraceMs(timing.restartGraceMs)
{
    m_suspendRoutes.push_back(
        CookieInhibitor::powerDevil(sessionBus, CookieInhibitor::kdeInterruptSession, timing.kdeSettleMs));
    m_suspendRoutes.push_back(CookieInhibitor::gnomeSession(sessionBus, CookieInhibitor::gnomeSuspend));
    m_suspendRoutes.push_back(CookieInhibitor::powerManagement(sessionBus));
    m_suspendRoutes.push_back(std::make_unique<LogindInhibitor>(systemBus, QStringLiteral("idle:sleep")));
    m_suspendRoutes.push_back(
        std::make_unique<PortalInhibitor>(sessionBus, PortalInhibitor::suspend, timing.portalAnswerMs));

    m_idleRoutes.push_back(
        CookieInhibitor::powerDevil(sessionBus, CookieInhibitor::kdeChangeScreenSettings, timing.kdeSettleMs));
    m_idleRoutes.push_back(CookieInhibitor::gnomeSession(sessionBus, CookieInhibitor::gnomeIdle));
    m_idleRoutes.push_back(CookieInhibitor::powerManagement(sessionBus));
    m_idleRoutes.push_back(CookieInhibitor::screenSaver(sessionBus));
    m_idleRoutes.push_back(
        std::make_unique<LogindInhibitor>(systemBus, QStringLiteral("idle"), blankerIgnoringLogind()));
    m_idleRoutes.push_back(std::make_unique<PortalInhibitor>(sessionBus, PortalInhibitor::idle, timing.portalAnswerMs));

    m_lidRoutes.push_back(std::make_unique<LogindInhibitor>(systemBus, QStringLiteral("handle-lid-switch")));

    m_serviceWatcher.setConnection(sessionBus);
    m_logindWatcher.setConnection(systemBus);
    m_logindWatcher.addWatchedService(LogindInhibitor::service());
    for (const Routes* routes : {&m_suspendRoutes, &m_idleRoutes}) {
        for (const auto& route : *routes) {
            const QString name = route->serviceName();
            if (!name.isEmpty() && name != LogindInhibitor::service()
                && !m_serviceWatcher.watchedServices().contains(name))
                m_serviceWatcher.addWatchedService(name);
        }
    }
    for (QDBusServiceWatcher* watcher : {&m_serviceWatcher, &m_logindWatcher}) {
        watcher->setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
        connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& service, const QString&, const QString& owner) {
                onOwnerChanged(service, !owner.isEmpty());
            });
    }
}

LinuxPowerAssertions::~LinuxPowerAssertions() = default;

std::optional<PowerAssertionBackend::AssertionId> LinuxPowerAssertions::create(
    PowerAssertionType type, const QString& name)
{
    Assertion assertion;
    switch (type) {
    case PowerAssertionType::preventIdleDisplaySleep:
        assertion.routes = &m_idleRoutes;
        break;
    case PowerAssertionType::preventLidSleep:
        assertion.routes = &m_lidRoutes;
        break;
    case PowerAssertionType::preventIdleSystemSleep:
    case PowerAssertionType::networkClientActive:
        assertion.routes = &m_suspendRoutes;
        break;
    }
    assertion.name = name;
    const AssertionId id = nextId();
    Assertion& added = m_assertions.emplace(id, std::move(assertion)).first->second;
    ask(id, added, 0);
    return id;
}

void LinuxPowerAssertions::ask(AssertionId id, Assertion& assertion, std::size_t route)
{
    const Routes& routes = *assertion.routes;
    if (route >= routes.size()) {
        assertion.held.reset();
        assertion.state = assertion.awaiting.isEmpty()
            ? PowerAssertionState{PowerAssertionState::Phase::failed, {}, summary(assertion.problems)}
            : PowerAssertionState{PowerAssertionState::Phase::confirming, assertion.awaiting,
                QStringLiteral("%1 went away; it is asked again when it is back").arg(assertion.awaiting)};
        return;
    }
    assertion.route = route;
    assertion.held = routes[route]->inhibit(assertion.name);
    assertion.state = {PowerAssertionState::Phase::confirming, routes[route]->through(), {}};
    connect(assertion.held.get(), &Inhibitor::Held::settled, this, [this, id] { onSettled(id); });
    connect(assertion.held.get(), &Inhibitor::Held::unconfirmed, this, [this, id] {
        Assertion& unconfirmed = m_assertions.at(id);
        unconfirmed.state.problem = unconfirmed.held->problem();
        emit stateChanged(id);
    });
}

void LinuxPowerAssertions::onSettled(AssertionId id)
{
    const auto found = m_assertions.find(id);
    if (found == m_assertions.end())
        return;
    Assertion& assertion = found->second;
    if (assertion.held->phase() == Inhibitor::Phase::inForce) {
        assertion.state.phase = PowerAssertionState::Phase::inForce;
        assertion.awaiting.clear();
    } else {
        // Not in force: let go of it and ask the routes after it.
        if (!assertion.held->problem().isEmpty())
            assertion.problems << QStringLiteral("%1: %2").arg(assertion.state.through, assertion.held->problem());
        assertion.held.release()->deleteLater(); // we are inside its signal
        ask(id, assertion, assertion.route + 1);
        // Another route is being asked: nothing to tell until it answers.
        if (assertion.state.phase == PowerAssertionState::Phase::confirming)
            return;
    }
    emit stateChanged(id);
}

void LinuxPowerAssertions::onOwnerChanged(const QString& service, bool appeared)
{
    std::vector<AssertionId> retake;
    for (const auto& [id, assertion] : m_assertions) {
        const Routes& routes = *assertion.routes;
        const auto route = std::find_if(routes.begin(), routes.end(),
            [&](const std::unique_ptr<Inhibitor>& inhibitor) { return inhibitor->serviceName() == service; });
        if (route == routes.end())
            continue;
        const auto index = static_cast<std::size_t>(route - routes.begin());
        // Gone or replaced: what it was asked is lost, and what it held
        // unless it keeps that. Back (or new): it comes before the route
        // holding the assertion now, or nothing holds it.
        const bool kept
            = (*route)->keepsHeldOverRestart() && assertion.state.phase == PowerAssertionState::Phase::inForce;
        if ((assertion.route == index && !kept) || (appeared && (!assertion.held || assertion.route > index)))
            retake.push_back(id);
    }
    for (const AssertionId id : retake) {
        Assertion& assertion = m_assertions.at(id);
        if (!appeared && assertion.held && assertion.awaiting.isEmpty()) {
            assertion.awaiting = assertion.state.through;
            QTimer::singleShot(m_restartGraceMs, this, [this, id] { onGraceOver(id); });
        } else if (appeared) {
            assertion.awaiting.clear();
        }
        assertion.held.reset();
        assertion.problems.clear();
        ask(id, assertion, 0);
        emit stateChanged(id);
    }
}

void LinuxPowerAssertions::onGraceOver(AssertionId id)
{
    const auto found = m_assertions.find(id);
    if (found == m_assertions.end() || found->second.awaiting.isEmpty())
        return;
    Assertion& assertion = found->second;
    const QString gone = std::exchange(assertion.awaiting, QString());
    if (assertion.held)
        return; // another route is asked or holds it
    assertion.problems << QStringLiteral("%1: it went away and did not come back").arg(gone);
    assertion.state = {PowerAssertionState::Phase::failed, {}, summary(assertion.problems)};
    emit stateChanged(id);
}

void LinuxPowerAssertions::release(AssertionId id)
{
    m_assertions.erase(id);
}

PowerAssertionState LinuxPowerAssertions::state(AssertionId id) const
{
    const auto found = m_assertions.find(id);
    return found == m_assertions.end() ? PowerAssertionState{PowerAssertionState::Phase::failed, {}, {}}
                                       : found->second.state;
}

void LinuxPowerAssertions::askOtherInhibitors(OtherInhibitorsAnswer done)
{
    LogindInhibitorList::ask(
        m_systemBus, this, [this, done = std::move(done)](const QList<LogindLock>& locks, const QString& problem) {
            const quint32 ourPid = static_cast<quint32>(QCoreApplication::applicationPid());
            // gnome-session turns suspend inhibitions into a logind lock of
            // its own. Judged by what holds now, when the answer is here.
            const bool sessionLockIsOurs
                = std::any_of(m_assertions.begin(), m_assertions.end(), [this](const auto& entry) {
                      const Assertion& assertion = entry.second;
                      return assertion.routes == &m_suspendRoutes && assertion.held
                          && m_suspendRoutes[assertion.route]->serviceName() == u"org.gnome.SessionManager";
                  });
            OtherInhibitors others{{}, problem};
            for (const LogindLock& lock : locks) {
                // Ours: this process's locks, the fan helper's, and the session's for ours.
                if (lock.mode != u"block" || lock.pid == ourPid || lock.who == AppIdentity::displayName()
                    || (sessionLockIsOurs && lock.why == u"user session inhibited"))
                    continue;
                others.lines << QStringLiteral("%1: %2 (%3)").arg(lock.who, lock.why, lock.what);
            }
            done(others);
        });
}

QString LinuxPowerAssertions::summary(const QStringList& problems)
{
    if (problems.isEmpty())
        return QStringLiteral("nothing on this desktop takes the request (no power manager, logind or portal)");
    return problems.join(QStringLiteral("; "));
}

PowerAssertionBackend::AssertionId LinuxPowerAssertions::nextId()
{
    // Never 0, never one still in use, even after the counter wraps.
    do {
        ++m_lastId;
    } while (m_lastId == 0 || m_assertions.contains(m_lastId));
    return m_lastId;
}

} // namespace quillon::platform::linux_
