#include "LidManager.h"

#include "PowerSource.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "app/fan/FanController.h"
#include "platform/Clock.h"
#include "platform/LidSensor.h"
#include "platform/ThermalPressure.h"

namespace quillon::app {

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
    if (m_fan->helperInstalled())
        m_fan->setLidStayAwake(true);
    m_assertions.start(SleepAssertions::Kind::system);
    m_fan->requestCooling(coolingProfile, QStringLiteral("lid"));
    // Each enablement watches its own closings of the lid.
    m_lidWasClosed = false;
    m_remindedThisClose = false;
    m_openedAt = QDateTime();
    if (m_parts.startTimers) {
        m_watchdog.start();
        m_lidPoll.start();
    }
}

void LidManager::switchOff()
{
    if (m_fan->helperInstalled())
        m_fan->setLidStayAwake(false);
    m_assertions.stopAll();
    m_fan->requestCooling(std::nullopt, QStringLiteral("lid"));
    m_watchdog.stop();
    m_lidPoll.stop();
}

void LidManager::tick()
{
    if (!m_enabled)
        return;
    // Puts right a restarted helper, or a lid setting changed behind our back.
    if (m_fan && m_fan->helperInstalled())
        m_fan->setLidStayAwake(true);
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
    m_lastAutoOff = reason;
    emit lastAutoOffChanged();
    if (m_parts.notifier)
        m_parts.notifier->notify(tr("🌡️ Closed-lid stopped"), reason);
}

void LidManager::lidTick()
{
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
