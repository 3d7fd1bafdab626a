#include "FanController.h"

#include "HelperLink.h"
#include "ProfileCooling.h"
#include "StatusValue.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "platform/Clock.h"

#include "core/FanFloor.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quillon::app {

namespace {

using Level = platform::ThermalPressure::Level;

constexpr double kOverheatAlertC = 95.0;
constexpr double kOverheatRearmC = 88.0;

QVariant optionalForView(const std::optional<double>& value)
{
    return value ? QVariant(*value) : QVariant();
}

std::optional<QByteArray> readWhole(const QString& path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

} // namespace

FanController::FanController(Parts parts, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_poller(*m_parts.link, m_parts.startTimers)
    , m_boostTimer(m_parts.startTimers)
{
    m_now = m_parts.clock->now();
    if (m_parts.thermal)
        m_thermalState = m_parts.thermal->level();
    m_helperInstalled = m_parts.link->helperAvailable();
    m_helperNeedsUpdate = m_helperInstalled && helperNeedsUpdateNow();
    if (const auto mode = coolingModeFromRaw(m_parts.settings->coolingMode()))
        setCoolingMode(*mode);
    if (const auto kind = core::CoolingProfile::fromRawValue(m_parts.settings->coolingProfile().toStdString()))
        setCoolingProfile(*kind);

    connect(&m_poller, &HelperPoller::statusArrived, this, &FanController::applyStatus);
    connect(&m_poller, &HelperPoller::linkMessage, this, &FanController::setStatusMessage);
    connect(&m_poller, &HelperPoller::tick, this, &FanController::pollTick);
    connect(&m_boostTimer, &BoostTimer::expired, this, &FanController::boostExpired);
    if (m_helperInstalled)
        connectIfNeeded();

    if (m_parts.profiles) {
        m_profileCooling = new ProfileCooling(*m_parts.profiles, this);
        connect(m_profileCooling, &ProfileCooling::textChanged, this, &FanController::coolingChanged);
        const auto follow = [this] {
            m_profileCooling->want(wantedPowerProfile());
        };
        connect(this, &FanController::coolingChanged, this, follow);
        connect(this, &FanController::helperStateChanged, this, follow);
    }
    if (m_parts.thermal)
        connect(m_parts.thermal, &platform::ThermalPressure::levelChanged, this, &FanController::updateThermalState);
}

FanController::~FanController() = default;

bool FanController::helperNeedsUpdateNow() const
{
    // Byte identity is the rule: any difference means the installed copy is stale.
    const auto bundled = readWhole(m_parts.bundledHelperPath);
    const auto installed = readWhole(m_parts.installedHelperPath);
    return bundled && installed && *bundled != *installed;
}

void FanController::connectIfNeeded()
{
    m_parts.link->connectIfNeeded();
}

void FanController::refresh()
{
    m_poller.refresh();
}

void FanController::pollTick()
{
    const QDateTime now = m_parts.clock->now();
    if (now != m_now) {
        m_now = now;
        emit nowChanged();
    }
    refresh();
}

void FanController::applyFans(const QVariant& value)
{
    using V = StatusValue;
    QList<FanInfo> fans;
    for (const QVariant& entry : value.toList()) {
        const QVariantMap fan = entry.toMap();
        const QVariant index = fan.value("index");
        const QVariant current = fan.value("currentRPM");
        const QVariant min = fan.value("minRPM");
        const QVariant max = fan.value("maxRPM");
        if (!V::isIntegral(index) || !V::isIntegral(current) || !V::isIntegral(min) || !V::isIntegral(max))
            continue;
        const QVariant target = fan.value("targetRPM");
        fans.append(
            {index.toInt(), current.toInt(), min.toInt(), max.toInt(), V::isIntegral(target) ? target.toInt() : 0});
    }
    if (fans != m_fans) {
        m_fans = fans;
        emit fansChanged();
    }
}

void FanController::applyStatus(const QVariantMap& status)
{
    if (m_statusMessage == HelperPoller::slowHelperMessage())
        setStatusMessage(QString()); // it answered after all
    const QVariant fans = status.value("fans");
    if (fans.typeId() == QMetaType::QVariantList) {
        applyFans(fans);
        if (m_spinUp.endIfDone(m_fans, m_now))
            emit spinUpChanged();
    }

    const QVariant boosted = status.value("isBoosted");
    // The helper dropped a floor the app still holds: its watchdog fired while
    // the app was starved, or it was restarted. Only a drop counts, so a floor
    // the helper refuses is not retried on every poll.
    const bool helperLetGo
        = boosted.typeId() == QMetaType::Bool && !boosted.toBool() && m_isBoosted && m_targetPercent > 0;
    if (boosted.typeId() == QMetaType::Bool)
        setBoosted(boosted.toBool());
    applySafetyState(status, helperLetGo);
    if (helperLetGo && m_safetyHold.isEmpty())
        reassertFloor();

    if (m_temperatures.apply(status))
        emit temperaturesChanged();

    const bool override = StatusValue::boolOrFalse(status.value("thermalOverride"));
    const double effective = StatusValue::finiteNumber(status.value("effectivePercent")).value_or(0.0);
    const QString unavailable = StatusValue::stringOrEmpty(status.value("fanControlUnavailable"));
    if (override != m_thermalOverride || effective != m_effectivePercent || unavailable != m_fanControlUnavailable) {
        m_thermalOverride = override;
        m_effectivePercent = effective;
        m_fanControlUnavailable = unavailable;
        emit helperStateChanged();
    }

    reconcileDaemonState(StatusValue::boolOrFalse(status.value("isBoosted")),
        StatusValue::boolOrFalse(status.value("lidStayAwake")));
    evaluateAutoCooling(false);
    checkHeatAlert();
}

void FanController::applySafetyState(const QVariantMap& status, bool helperLetGo)
{
    const bool pending = StatusValue::boolOrFalse(status.value("releasePending"));
    if (pending != m_releasePending) {
        m_releasePending = pending;
        emit helperStateChanged();
        if (pending) {
            notify(tr("Fans not handed back yet"),
                tr("The firmware has not taken the fans back. Quillon holds them at full speed and keeps trying."));
        }
    }

    const QString release = StatusValue::stringOrEmpty(status.value("safetyRelease"));
    const double clearFor = StatusValue::finiteNumber(status.value("safetyClearSeconds")).value_or(0.0);
    const bool helperHolds = StatusValue::boolOrFalse(status.value("isBoosted"));
    const bool causeGone = release.isEmpty() || clearFor >= safetyClearSeconds;
    if (!m_safetyHold.isEmpty()) {
        if (!causeGone)
            return;
        setSafetyHold(QString());
        // The helper lets go of nothing it holds; a floor it dropped goes back.
        if (m_targetPercent > 0 && !helperHolds && !helperLetGo)
            reassertFloor();
        return;
    }
    // Sending the floor again now would only make the helper let go again.
    if (!causeGone && !helperHolds && m_targetPercent > 0)
        setSafetyHold(release);
}

void FanController::setSafetyHold(const QString& reason)
{
    if (reason == m_safetyHold)
        return;
    m_safetyHold = reason;
    if (!reason.isEmpty()) {
        qInfo().noquote() << QStringLiteral(
            "Quillon: the helper let go of the fans for safety (%1); holding the floor back")
                                 .arg(reason);
        clearSpinUp();
    }
    emit helperStateChanged();
}

void FanController::setLiveView(const QString& source, bool shown)
{
    if (!m_poller.setLiveView(source, shown))
        return;
    m_poller.updateInterval(holdsAnything());
    // Whoever just looked wants today's figures, not those of up to five seconds ago.
    if (shown)
        refresh();
}

bool FanController::holdsAnything() const
{
    return m_isBoosted || m_intendedLidLock || m_helperHolds;
}

void FanController::reconcileDaemonState(bool daemonForcingFans, bool daemonLidLock)
{
    m_helperHolds = daemonForcingFans || daemonLidLock;
    m_poller.updateInterval(holdsAnything());
    const bool wantsFansHeld = m_fansEnabled || m_triggerProfile || m_autoEngaged;
    const SelfHeal::Release release
        = m_selfHeal.check(daemonForcingFans, daemonLidLock, wantsFansHeld, m_intendedLidLock);
    if (release.fans)
        resetBoost();
    if (release.lid && m_helperInstalled) {
        m_intendedLidLock = false;
        connectIfNeeded();
        m_parts.link->setLidStayAwake(false, this, [](bool, const QString&) {});
    }
}

void FanController::setLidStayAwake(bool on, HelperLink::Reply done)
{
    // Set before the request goes out: self-heal compares against it.
    m_intendedLidLock = on;
    if (on)
        m_poller.pollFast();
    connectIfNeeded();
    if (!m_parts.link->isOpen()) {
        if (done)
            done(false, tr("the fan helper cannot be reached"));
        return;
    }
    m_parts.link->setLidStayAwake(on, this, [done](bool ok, const QString& text) {
        if (done)
            done(ok, text);
    });
}

void FanController::reconcileToOffOnLaunch()
{
    connectIfNeeded();
    m_intendedLidLock = false;
    if (!m_parts.link->isOpen())
        return;
    m_parts.link->stopBoost(this, [](bool, const QString&) {});
    m_parts.link->setLidStayAwake(false, this, [](bool, const QString&) {});
}

void FanController::updateThermalState()
{
    const Level level = m_parts.thermal ? m_parts.thermal->level() : Level::nominal;
    if (level != m_thermalState) {
        m_thermalState = level;
        emit thermalStateChanged();
    }
    const bool throttling = level == Level::serious || level == Level::critical;
    if (throttling && !m_lastThrottleNotified && heatAlertsEnabled())
        notify(
            tr("⚠️ Mac is throttling"), tr("Thermal pressure is high — heat protection is keeping the fans up."));
    m_lastThrottleNotified = throttling;
}

bool FanController::heatAlertsEnabled() const
{
    return m_parts.settings->flag(Settings::Key::heatAlerts);
}

void FanController::checkHeatAlert()
{
    if (!heatAlertsEnabled())
        return;
    const double t = m_temperatures.cpuSmoothed().value_or(0.0);
    if (t >= kOverheatAlertC && !m_overheatNotified) {
        m_overheatNotified = true;
        notify(tr("🔥 CPU running very hot"), tr("The CPU is at %1 °C.").arg(t, 0, 'f', 0));
    }
    if (t < kOverheatRearmC)
        m_overheatNotified = false;
}

void FanController::installHelper(std::function<void(const InstallResult&)> done)
{
    if (!m_parts.installer) {
        setStatusMessage(QStringLiteral("Fehler: ") + tr("this build has no helper installer"));
        if (done)
            done(InstallResult::failed(tr("this build has no helper installer")));
        return;
    }
    if (m_helperInstalling) {
        if (done)
            done(InstallResult::failed(QStringLiteral("an installation is already under way")));
        return;
    }
    m_helperInstalling = true;
    emit helperStateChanged();
    QPointer<FanController> self(this);
    m_parts.installer([self, done](const InstallResult& result) {
        if (self)
            self->applyInstallResult(result);
        if (done)
            done(result);
    });
}

void FanController::applyInstallResult(const InstallResult& result)
{
    m_helperInstalling = false;
    emit helperStateChanged();
    switch (result.kind) {
    case InstallResult::Kind::success:
        m_helperInstalled = true;
        m_helperNeedsUpdate = false;
        setStatusMessage(QStringLiteral("Helper installiert"));
        m_parts.link->invalidate();
        connectIfNeeded();
        break;
    case InstallResult::Kind::cancelled:
        setStatusMessage(QStringLiteral("Installation abgebrochen"));
        break;
    case InstallResult::Kind::failed:
        setStatusMessage(QStringLiteral("Fehler: ") + result.message);
        break;
    }
}

void FanController::setStatusMessage(const QString& message)
{
    if (message != m_statusMessage) {
        m_statusMessage = message;
        emit helperStateChanged();
    }
}

void FanController::notify(const QString& title, const QString& body)
{
    if (m_parts.notifier)
        m_parts.notifier->notify(title, body);
}

QVariantList FanController::fansForView() const
{
    QVariantList list;
    for (const FanInfo& fan : m_fans)
        list.append(QVariantMap{{"index", fan.index}, {"currentRPM", fan.currentRPM}, {"minRPM", fan.minRPM},
            {"maxRPM", fan.maxRPM}, {"targetRPM", fan.targetRPM}});
    return list;
}

QVariant FanController::cpuTempForView() const
{
    return optionalForView(cpuTemp());
}

QVariant FanController::cpuTempSmoothedForView() const
{
    return optionalForView(cpuTempSmoothed());
}

QVariant FanController::gpuTempForView() const
{
    return optionalForView(gpuTemp());
}

QVariant FanController::gpuTempSmoothedForView() const
{
    return optionalForView(gpuTempSmoothed());
}

std::optional<FanController::Kind> FanController::wantedPowerProfile() const
{
    if (m_fanControlUnavailable.isEmpty())
        return std::nullopt;
    if (m_triggerProfile)
        return m_triggerProfile;
    // A manual floor has no power profile: the switch holds the chosen profile.
    if (m_fansEnabled)
        return m_coolingProfile;
    return std::nullopt;
}

QString FanController::profileCooling() const
{
    return m_profileCooling ? m_profileCooling->text() : QString();
}

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
        m_poller.pollFast();
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
    const double cpu = cpuTempSmoothed().value_or(cpuTemp().value_or(0.0));
    const double t = std::max(cpu, gpuTempSmoothed().value_or(0.0));
    if (t <= 0)
        return; // no reading yet
    const double base = m_fansEnabled && m_coolingMode == CoolingMode::manual ? m_manualPercent : 0.0;
    const CoolingMerge::Decision decision
        = m_merge.evaluate(kind, t, base, m_targetPercent, m_autoEngaged, force);
    if (decision.floor != m_autoFloor) {
        m_autoFloor = decision.floor;
        emit coolingChanged();
    }
    switch (decision.action) {
    case CoolingMerge::Action::none:
        return;
    case CoolingMerge::Action::release:
        m_autoEngaged = false;
        emit coolingChanged();
        setTargetPercent(0);
        resetBoost();
        return;
    case CoolingMerge::Action::send:
        if (!m_autoEngaged) {
            m_autoEngaged = true;
            emit coolingChanged();
        }
        setTargetPercent(decision.floor);
        applyBoost(std::nullopt, true);
        return;
    }
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
    if (!m_spinUp.spinningUp())
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
    m_boostTimer.schedule(m_parts.clock->now(), seconds);
    emit boostChanged();
}

void FanController::cancelBoostExpiry()
{
    if (m_boostTimer.cancel())
        emit boostChanged();
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
    setTriggerCooling(m_merge.request(kind, source));
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
    m_spinUp.start(m_parts.clock->now());
    emit spinUpChanged();
}

void FanController::clearSpinUp()
{
    if (m_spinUp.clear())
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

QVariant FanController::spinUpRemainingForView() const
{
    const auto left = spinUpRemaining();
    return left ? QVariant(*left) : QVariant();
}

} // namespace quillon::app
