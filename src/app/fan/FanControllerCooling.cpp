// FanController: modes, the timed boost and automatic cooling (what floor the
// helper gets, and when).
#include "FanController.h"
#include "HelperLink.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "platform/Clock.h"

#include "core/FanFloor.h"

#include <algorithm>
#include <cmath>

namespace quillon::app {

namespace {
constexpr double kSpinUpIndicatorS = 5.0;
// Automatic cooling re-sends a floor only when it moved this far (percentage points).
constexpr double kResendDeltaPercent = 2.0;
// Zero-floor evaluations tolerated before automatic cooling lets go (about 6 s of polling).
constexpr int kReleaseAfterZeroTicks = 5;
} // namespace

FanController::UserAction::UserAction(FanController& controller)
    : m_controller(controller)
{
    ++m_controller.m_userActionDepth;
    m_controller.setSafetyHold(QString());
}

FanController::UserAction::~UserAction()
{
    if (--m_controller.m_userActionDepth == 0)
        m_controller.flushUserAction();
}

void FanController::sendFloor(double percent)
{
    if (m_userActionDepth > 0) {
        m_pendingCommand = std::optional<double>(percent);
        return;
    }
    if (percent > 0)
        pollFast();
    m_parts.link->setFanFloor(percent, this, [this](bool ok, const QString&) { onFloorReply(ok); });
}

void FanController::sendStop()
{
    if (m_userActionDepth > 0) {
        m_pendingCommand = std::optional<double>();
        return;
    }
    m_parts.link->stopBoost(this, [this](bool, const QString&) { refresh(); });
}

void FanController::flushUserAction()
{
    const auto command = std::exchange(m_pendingCommand, std::nullopt);
    if (!command || !m_parts.link->isOpen())
        return;
    if (*command)
        sendFloor(**command);
    else
        sendStop();
}

void FanController::setCoolingMode(CoolingMode mode)
{
    if (mode == m_coolingMode)
        return;
    UserAction action(*this);
    m_coolingMode = mode;
    m_parts.settings->setCoolingMode(rawValue(mode));
    emit coolingChanged();
    coolingModeChanged();
}

void FanController::setCoolingModeRaw(const QString& raw)
{
    if (const auto mode = coolingModeFromRaw(raw))
        setCoolingMode(*mode);
}

void FanController::setCoolingProfile(Kind kind)
{
    UserAction action(*this);
    const bool changed = kind != m_coolingProfile;
    m_coolingProfile = kind;
    m_parts.settings->setCoolingProfile(QString::fromLatin1(core::CoolingProfile::rawValue(kind)));
    if (changed)
        emit coolingChanged();
    if (m_coolingMode == CoolingMode::automatic && m_autoActive)
        evaluateAutoCooling(true);
}

QString FanController::coolingProfileRaw() const
{
    return QString::fromLatin1(core::CoolingProfile::rawValue(m_coolingProfile));
}

void FanController::setCoolingProfileRaw(const QString& raw)
{
    if (const auto kind = core::CoolingProfile::fromRawValue(raw.toStdString()))
        setCoolingProfile(*kind);
}

QString FanController::triggerProfileRaw() const
{
    return m_triggerProfile ? QString::fromLatin1(core::CoolingProfile::rawValue(*m_triggerProfile)) : QString();
}

void FanController::setBoostDuration(double seconds)
{
    if (std::isfinite(seconds) && seconds > 0 && seconds != m_boostDuration) {
        m_boostDuration = seconds;
        emit boostChanged();
    }
}

void FanController::coolingModeChanged()
{
    if (!m_fansEnabled)
        return;
    if (m_coolingMode == CoolingMode::manual) {
        setAuto(false);
        setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    } else {
        // The manual boost's timer goes too, even when its floor never took.
        if (m_isBoosted)
            resetBoost();
        else
            cancelBoostExpiry();
        setAuto(true);
    }
}

void FanController::setFansEnabled(bool on)
{
    if (!m_helperInstalled)
        return;
    if (profileRoute()) {
        // Nothing for the helper to drive: the chosen profile becomes a power-profile hold.
        if (on != m_fansEnabled) {
            m_fansEnabled = on;
            emit coolingChanged();
        }
        return;
    }
    UserAction action(*this);
    if (on != m_fansEnabled) {
        m_fansEnabled = on;
        emit coolingChanged();
    }
    if (!on) {
        setAuto(false);
        if (m_isBoosted)
            resetBoost();
        // Another manager's request keeps cooling after the user switches off.
        if (m_triggerProfile)
            evaluateAutoCooling(true);
        return;
    }
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();
    if (m_coolingMode == CoolingMode::automatic) {
        setAuto(true);
    } else {
        setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    }
}

void FanController::setManualFloor(double percent)
{
    if (!m_helperInstalled || !m_fansEnabled || m_coolingMode != CoolingMode::manual || std::isnan(percent))
        return;
    UserAction action(*this);
    if (percent < core::FanFloor::resolutionPercent) {
        setFansEnabled(false);
        return;
    }
    m_manualPercent = std::min(percent, 100.0);
    emit coolingChanged();
    if (!m_triggerProfile) {
        setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    } else {
        evaluateAutoCooling(true);
    }
}

void FanController::setAuto(bool on)
{
    m_autoActive = on;
    if (!on) {
        m_autoEngaged = false;
        m_autoFloor = 0;
        emit coolingChanged();
        setTargetPercent(0);
        resetBoost();
        return;
    }
    emit coolingChanged();
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();
    evaluateAutoCooling(true);
}

void FanController::evaluateAutoCooling(bool force)
{
    const bool profileOn = m_coolingMode == CoolingMode::automatic && m_autoActive;
    if (!m_helperInstalled || (!profileOn && !m_triggerProfile))
        return;
    // A trigger's profile replaces the user's; the two are not combined.
    const Kind kind = m_triggerProfile.value_or(m_coolingProfile);
    const double cpu = m_cpuTempSmoothed.value_or(m_cpuTemp.value_or(0.0));
    const double t = std::max(cpu, m_gpuTempSmoothed.value_or(0.0));
    if (t <= 0)
        return; // no reading yet
    const double curve = core::CoolingProfile::floorPercent(kind, t);
    const double base = m_fansEnabled && m_coolingMode == CoolingMode::manual ? m_manualPercent : 0.0;
    double floor = std::max(base, curve);
    if (floor < core::FanFloor::resolutionPercent)
        floor = 0; // too fine to move a fan
    if (floor != m_autoFloor) {
        m_autoFloor = floor;
        emit coolingChanged();
    }

    if (floor <= 0) {
        // Release hysteresis: let go only after several quiet polls in a row.
        ++m_autoCoolTicks;
        if (m_autoEngaged && m_autoCoolTicks > kReleaseAfterZeroTicks) {
            m_autoEngaged = false;
            emit coolingChanged();
            setTargetPercent(0);
            resetBoost();
        }
        return;
    }
    m_autoCoolTicks = 0;
    if (m_autoEngaged && !force && std::abs(floor - m_targetPercent) < kResendDeltaPercent)
        return;
    if (!m_autoEngaged) {
        m_autoEngaged = true;
        emit coolingChanged();
    }
    setTargetPercent(floor);
    applyBoost(std::nullopt, true);
}

bool FanController::applyBoost(std::optional<double> durationS, bool automatic)
{
    if (!m_helperInstalled)
        return false;
    connectIfNeeded();
    if (!m_parts.link->isOpen())
        return false;
    // Held back after a safety release: only the user asking again sends it.
    if (!m_safetyHold.isEmpty() && m_targetPercent > 0 && m_userActionDepth == 0)
        return false;

    const bool wasBoosted = m_isBoosted;
    const double p = m_targetPercent;
    setBoosted(p > 0);
    if (p > 0 && !automatic && p != m_manualPercent) {
        m_manualPercent = p;
        emit coolingChanged();
    }
    if (p > 0 && !wasBoosted)
        startSpinUp();
    else if (p <= 0)
        clearSpinUp();

    sendFloor(p);

    if (automatic || p <= 0) {
        cancelBoostExpiry(); // automatic cooling and zero floors never expire
    } else if (durationS || !wasBoosted) {
        scheduleBoostExpiry(std::min(durationS.value_or(m_boostDuration), maxBoostSeconds));
    }
    return true;
}

void FanController::reassertFloor()
{
    qInfo().noquote() << QStringLiteral("Quillon: the helper let go of the fans; sending the %1 % floor again")
                             .arg(m_targetPercent, 0, 'f', 0);
    setBoosted(true);
    if (!m_spinningUp)
        startSpinUp();
    // The boost's expiry, if any, keeps running: the user's time is not extended.
    sendFloor(m_targetPercent);
}

void FanController::onFloorReply(bool ok)
{
    if (ok) {
        setStatusMessage(QString());
    } else {
        setBoosted(false);
        setStatusMessage(tr("Couldn't set fans."));
    }
    refresh();
}

bool FanController::resetBoost()
{
    setTargetPercent(0);
    setBoosted(false);
    clearSpinUp();
    cancelBoostExpiry();
    // No new connection for a stop: without one there is nothing to stop.
    if (!m_parts.link->isOpen())
        return false;
    sendStop();
    return true;
}

void FanController::scheduleBoostExpiry(double seconds)
{
    cancelBoostExpiry();
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();
    const auto ms = static_cast<qint64>(seconds * 1000.0);
    m_boostExpiresAt = m_parts.clock->now().addMSecs(ms);
    emit boostChanged();
    if (m_parts.startTimers)
        m_boostExpiryTimer.start(std::chrono::milliseconds(ms));
}

void FanController::cancelBoostExpiry()
{
    m_boostExpiryTimer.stop();
    if (m_boostExpiresAt.isValid()) {
        m_boostExpiresAt = QDateTime();
        emit boostChanged();
    }
}

void FanController::boostExpired()
{
    if (m_fansEnabled) {
        m_fansEnabled = false;
        emit coolingChanged();
    }
    resetBoost();
    if (m_triggerProfile)
        evaluateAutoCooling(true);
    notify(tr("Fan boost finished"),
        m_triggerProfile ? tr("The boost timer ended — automation keeps cooling.")
                         : tr("The boost timer ended — fans are back on automatic."));
}

void FanController::requestCooling(std::optional<Kind> kind, const QString& source)
{
    if (kind)
        m_coolingRequests.insert(source, *kind);
    else
        m_coolingRequests.remove(source);
    std::optional<Kind> strongest;
    for (const Kind requested : std::as_const(m_coolingRequests)) {
        if (!strongest || requested > *strongest)
            strongest = requested;
    }
    setTriggerCooling(strongest);
}

void FanController::setTriggerCooling(std::optional<Kind> kind)
{
    if (kind == m_triggerProfile)
        return;
    m_triggerProfile = kind;
    emit coolingChanged();
    if (kind) {
        if (m_parts.notifier)
            m_parts.notifier->requestAuthorizationIfNeeded();
        evaluateAutoCooling(true);
        return;
    }
    if (!m_fansEnabled) {
        if (m_autoEngaged) {
            m_autoEngaged = false;
            m_autoFloor = 0;
            emit coolingChanged();
            setTargetPercent(0);
            resetBoost();
        }
    } else if (m_coolingMode == CoolingMode::manual) {
        // The user's manual floor returns, with a fresh boost timer.
        m_autoEngaged = false;
        m_autoFloor = 0;
        emit coolingChanged();
        setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    } else {
        evaluateAutoCooling(true);
    }
}

void FanController::startSpinUp()
{
    const QDateTime now = m_parts.clock->now();
    m_spinUpStarted = now;
    m_spinUpUntil = now.addMSecs(static_cast<qint64>(kSpinUpIndicatorS * 1000));
    m_spinningUp = true;
    emit spinUpChanged();
}

void FanController::clearSpinUp()
{
    if (!m_spinningUp && !m_spinUpUntil.isValid() && !m_spinUpStarted.isValid())
        return;
    m_spinningUp = false;
    m_spinUpUntil = QDateTime();
    m_spinUpStarted = QDateTime();
    emit spinUpChanged();
}

void FanController::setTargetPercent(double percent)
{
    if (percent != m_targetPercent) {
        m_targetPercent = percent;
        emit boostChanged();
    }
}

void FanController::setBoosted(bool boosted)
{
    if (boosted != m_isBoosted) {
        m_isBoosted = boosted;
        emit boostChanged();
    }
}

QString FanController::boostRemainingText() const
{
    if (!m_boostExpiresAt.isValid())
        return {};
    const qint64 left = std::max<qint64>(0, m_now.msecsTo(m_boostExpiresAt) / 1000);
    return QStringLiteral("%1:%2").arg(left / 60).arg(left % 60, 2, 10, QLatin1Char('0'));
}

std::optional<int> FanController::spinUpRemaining() const
{
    if (!m_spinningUp || !m_spinUpUntil.isValid())
        return std::nullopt;
    return static_cast<int>(std::max<qint64>(0, m_now.msecsTo(m_spinUpUntil) / 1000));
}

QVariant FanController::spinUpRemainingForView() const
{
    const auto left = spinUpRemaining();
    return left ? QVariant(*left) : QVariant();
}

} // namespace quillon::app
