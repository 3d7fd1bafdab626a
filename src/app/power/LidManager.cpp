#include "LidManager.h"

#include "PowerSource.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "app/fan/FanController.h"
#include "platform/Clock.h"
#include "platform/LidSensor.h"
#include "platform/LidSwitchOwner.h"
#include "platform/ThermalPressure.h"

#include <QPointer>
#include <utility>

namespace quillon::app {

namespace {

// What the user must change where a power manager keeps the lid.
QString instruction(const platform::LidSwitchOwner::Owner& owner)
{
    using Desktop = platform::LidSwitchOwner::Desktop;
    switch (owner.desktop) {
    case Desktop::kde:
        return LidManager::tr(
            "KDE's power management acts on the lid itself. In System Settings → Power Management, set "
            "\"When laptop lid closed\" to \"Do nothing\" on AC power, on battery and on low battery.");
    case Desktop::xfce:
        return LidManager::tr(
            "Xfce's power manager acts on the lid itself. In its settings (General), set \"When laptop lid "
            "is closed\" to \"Switch off display\" (or \"Nothing\") on battery and plugged in.");
    case Desktop::mate:
        return LidManager::tr(
            "MATE's power manager acts on the lid itself. In Power Management Preferences, set \"When "
            "laptop lid is closed\" to \"Do nothing\" on AC power and on battery.");
    case Desktop::lxqt:
        return LidManager::tr("LXQt's power management acts on the lid itself. In its settings, set the lid actions to "
                              "\"Nothing\".");
    case Desktop::none:
    case Desktop::other:
        break;
    }
    return LidManager::tr("%1 acts on the lid itself: set its lid action to do nothing.").arg(owner.who);
}

} // namespace

LidManager::LidManager(Parts parts, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_assertions(m_parts.assertions)
{
    m_watchdog.setInterval(watchdogIntervalMs);
    connect(&m_watchdog, &QTimer::timeout, this, &LidManager::tick);
    m_lidPoll.setInterval(lidPollIntervalMs);
    connect(&m_lidPoll, &QTimer::timeout, this, &LidManager::lidTick);
    if (m_parts.thermal)
        connect(m_parts.thermal, &platform::ThermalPressure::levelChanged, this, &LidManager::checkThermal);
    connect(
        m_parts.assertions.get(), &platform::PowerAssertionBackend::stateChanged, this, &LidManager::onAssertionState);
    connect(&m_assertions, &SleepAssertions::stateChanged, this, &LidManager::onSystemState);
    if (m_parts.notifier) {
        QPointer<LidManager> self(this);
        m_parts.notifier->onLidReminderDisable = [self] {
            if (self)
                self->setEnabled(false);
        };
    }
}

LidManager::~LidManager()
{
    if (m_parts.notifier)
        m_parts.notifier->onLidReminderDisable = nullptr;
    // The app is quitting: a power manager's lid setting goes back as it was.
    if (m_handedOver && m_parts.lidOwner)
        m_parts.lidOwner->restore();
}

void LidManager::setEnabled(bool on)
{
    if (on == m_enabled)
        return;
    m_enabled = on;
    emit enabledChanged();
    if (!m_fan)
        return;
    if (on)
        switchOn();
    else
        switchOff();
}

void LidManager::switchOn()
{
    if (!m_lastAutoOff.isEmpty()) {
        m_lastAutoOff.clear();
        emit lastAutoOffChanged();
    }
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();
    m_assertions.start(SleepAssertions::Kind::system);
    if (!m_enabled)
        return; // refused at once (onSystemState)
    m_fan->requestCooling(coolingProfile, QStringLiteral("lid"));
    // Each enablement watches its own closings of the lid.
    m_lidWasClosed = false;
    m_remindedThisClose = false;
    m_openedAt = QDateTime();
    if (m_parts.startTimers) {
        m_watchdog.start();
        m_lidPoll.start();
    }
    claimLid();
}

void LidManager::claimLid()
{
    if (!m_parts.lidOwner) {
        onLidOwner({});
        return;
    }
    if (m_askingOwner)
        return; // the answer to the last question is still to come
    m_askingOwner = true;
    if (m_hold.phase == Phase::off)
        setHold(Phase::confirming, QStringLiteral("logind"));
    QPointer<LidManager> self(this);
    m_parts.lidOwner->askOwner([self](const platform::LidSwitchOwner::Owner& owner) {
        if (!self)
            return;
        self->m_askingOwner = false;
        if (self->m_enabled && self->m_fan)
            self->onLidOwner(owner);
    });
}

void LidManager::onLidOwner(const platform::LidSwitchOwner::Owner& owner)
{
    if (owner.desktop == platform::LidSwitchOwner::Desktop::none) {
        m_handOverAsked = QDateTime();
        lockLid();
        return;
    }
    if (owner.doesNothing) {
        m_handOverAsked = QDateTime();
        setHold(Phase::inForce, tr("%1, whose lid action is \"Do nothing\"").arg(owner.who));
        return;
    }
    const QString instructions = instruction(owner);
    if (m_handOverAsked.isValid()) {
        // Still waiting for it to let go; lidTick asks again every second.
        if (m_handOverAsked.msecsTo(m_parts.clock->now()) >= static_cast<qint64>(handOverWait * 1000))
            refuse(tr("%1 did not hand the lid back. %2").arg(owner.who, instructions));
        return;
    }
    if (!owner.canHandOver) {
        refuse(instructions);
        return;
    }
    if (m_handingOver)
        return;
    m_handingOver = true;
    QPointer<LidManager> self(this);
    m_parts.lidOwner->handOver([self, owner, instructions](bool accepted, const QString& problem) {
        if (!self)
            return;
        self->m_handingOver = false;
        if (accepted)
            self->m_handedOver = true; // ours to put back, whatever happens now
        if (!self->m_enabled) {
            // Switched off while it was being asked.
            if (std::exchange(self->m_handedOver, false))
                self->m_parts.lidOwner->restore();
            return;
        }
        if (!accepted) {
            self->refuse(tr("%1 could not hand the lid back (%2). %3").arg(owner.who, problem, instructions));
            return;
        }
        self->m_handOverAsked = self->m_parts.clock->now();
        self->setHold(Phase::confirming, tr("%1, handing the lid to logind").arg(owner.who));
    });
}

void LidManager::lockLid()
{
    if (m_fan->helperInstalled()) {
        const QString through = tr("logind (fan helper)");
        if (m_hold.phase != Phase::inForce)
            setHold(Phase::confirming, through);
        QPointer<LidManager> self(this);
        m_fan->setLidStayAwake(true, [self, through](bool ok, const QString& text) {
            if (!self || !self->m_enabled)
                return;
            if (ok) {
                self->setHold(Phase::inForce, through);
                return;
            }
            // The helper answers "lid-stay-awake refused: <why>"; the why is what the user needs.
            const QString why = text.section(QStringLiteral("refused: "), 1);
            self->refuse(tr("The fan helper could not take the lid lock: %1").arg(why.isEmpty() ? text : why));
        });
        return;
    }
    if (!m_ownLock) {
        m_ownLock = m_parts.assertions->create(platform::PowerAssertionType::preventLidSleep,
            QStringLiteral("SleepTimer: keep awake with the lid closed"));
        if (!m_ownLock) {
            refuse(tr("The lid lock was refused: %1").arg(m_parts.assertions->lastProblem()));
            return;
        }
    }
    onAssertionState(*m_ownLock);
}

void LidManager::onAssertionState(platform::PowerAssertionBackend::AssertionId id)
{
    if (!m_ownLock || *m_ownLock != id || !m_enabled)
        return;
    const platform::PowerAssertionState state = m_parts.assertions->state(id);
    switch (state.phase) {
    case platform::PowerAssertionState::Phase::confirming:
        setHold(Phase::confirming, state.through);
        break;
    case platform::PowerAssertionState::Phase::inForce:
        setHold(Phase::inForce, state.through);
        break;
    case platform::PowerAssertionState::Phase::failed:
        refuse(tr("The lid lock was refused: %1").arg(state.problem));
        break;
    }
}

void LidManager::onSystemState()
{
    if (!m_enabled)
        return;
    const SleepAssertions::KindState system = m_assertions.state(SleepAssertions::Kind::system);
    if (system.phase == Phase::failed)
        refuse(tr("Nothing keeps the system awake with the lid closed: %1").arg(system.problem));
    else
        emit holdChanged();
}

SleepAssertions::KindState LidManager::holdState() const
{
    if (m_hold.phase != Phase::inForce)
        return m_hold;
    if (m_assertions.state(SleepAssertions::Kind::system).phase == Phase::inForce)
        return m_hold;
    return {Phase::confirming, m_hold.through, {}};
}

void LidManager::refuse(const QString& problem)
{
    const bool wasHeld = m_enabled && holdState().phase == Phase::inForce;
    if (m_enabled) {
        m_enabled = false;
        switchOff();
        emit enabledChanged();
    }
    setHold(Phase::failed, {}, problem);
    if (wasHeld)
        announceStop(problem);
}

void LidManager::setHold(Phase phase, const QString& through, const QString& problem)
{
    if (m_hold.phase == phase && m_hold.through == through && m_hold.problem == problem)
        return;
    m_hold = {phase, through, problem};
    emit holdChanged();
}

QString LidManager::holdNote() const
{
    return SleepAssertions::note(m_hold);
}

void LidManager::switchOff()
{
    if (m_fan->helperInstalled())
        m_fan->setLidStayAwake(false);
    if (m_ownLock) {
        m_parts.assertions->release(*m_ownLock);
        m_ownLock.reset();
    }
    if (m_handedOver && m_parts.lidOwner)
        m_parts.lidOwner->restore();
    m_handedOver = false;
    m_handOverAsked = QDateTime();
    setHold(Phase::off);
    m_assertions.stopAll();
    m_fan->requestCooling(std::nullopt, QStringLiteral("lid"));
    m_watchdog.stop();
    m_lidPoll.stop();
}

void LidManager::tick()
{
    if (!m_enabled)
        return;
    // Puts right a restarted helper, or a power manager that took the lid
    // behind our back.
    if (m_fan)
        claimLid();
    if (!m_enabled)
        return;
    if (m_parts.settings->flag(Settings::Key::lowBatteryAutoStop) && m_parts.power) {
        const PowerInfo power = m_parts.power->current();
        if (power.hasBattery && !power.onAC && power.percentage && *power.percentage <= lowBatteryPercent) {
            autoStop(tr("Battery below 15% — closed-lid stopped so the Mac can sleep."));
            return;
        }
    }
    checkThermal();
}

void LidManager::checkThermal()
{
    if (!m_enabled || !m_parts.thermal)
        return;
    const auto level = m_parts.thermal->level();
    if (level == platform::ThermalPressure::Level::serious || level == platform::ThermalPressure::Level::critical)
        autoStop(tr("Got too hot — closed-lid auto-stopped for safety."));
}

void LidManager::autoStop(const QString& reason)
{
    setEnabled(false);
    announceStop(reason);
}

void LidManager::announceStop(const QString& reason)
{
    m_lastAutoOff = reason;
    emit lastAutoOffChanged();
    if (m_parts.notifier)
        m_parts.notifier->notify(tr("🌡️ Closed-lid stopped"), reason);
}

void LidManager::lidTick()
{
    if (m_enabled && m_fan && m_handOverAsked.isValid())
        claimLid();
    if (!m_enabled || !m_parts.lid)
        return;
    const auto closed = m_parts.lid->isClosed();
    if (!closed)
        return; // no lid, or no reading this time
    const QDateTime now = m_parts.clock->now();
    if (*closed) {
        if (!m_lidWasClosed)
            m_remindedThisClose = false; // a new closing begins
        m_openedAt = QDateTime();
    } else {
        if (m_lidWasClosed)
            m_openedAt = now;
        if (!m_remindedThisClose && m_openedAt.isValid()
            && m_openedAt.msecsTo(now) >= static_cast<qint64>(reopenDelay * 1000)) {
            m_remindedThisClose = true;
            m_openedAt = QDateTime();
            if (m_parts.notifier)
                m_parts.notifier->notifyLidStillOn();
        }
    }
    m_lidWasClosed = *closed;
}

} // namespace quillon::app
