#include "FanController.h"

#include "HelperLink.h"
#include "ProfileCooling.h"
#include "StatusValue.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "platform/Clock.h"

#include "core/FanFloor.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quillon::app {

namespace {

QVariant optionalForView(const std::optional<double>& value)
{
    return value ? QVariant(*value) : QVariant();
}

} // namespace

FanController::FanController(Parts parts, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_poller(*m_parts.link, m_parts.startTimers)
    , m_floor(*m_parts.link, m_poller, *m_parts.clock, m_parts.notifier, m_parts.startTimers)
    , m_safety(m_parts.notifier)
    , m_heat(m_parts.thermal, *m_parts.settings, m_parts.notifier)
    , m_install(*m_parts.link, m_parts.installer, m_parts.bundledHelperPath, m_parts.installedHelperPath)
    , m_lid(*m_parts.link, m_poller)
{
    m_now = m_parts.clock->now();
    if (const auto mode = coolingModeFromRaw(m_parts.settings->coolingMode()))
        setCoolingMode(*mode);
    if (const auto kind = core::CoolingProfile::fromRawValue(m_parts.settings->coolingProfile().toStdString()))
        setCoolingProfile(*kind);

    connect(&m_poller, &HelperPoller::statusArrived, this, &FanController::applyStatus);
    connect(&m_poller, &HelperPoller::linkMessage, this, &FanController::setStatusMessage);
    connect(&m_poller, &HelperPoller::tick, this, &FanController::pollTick);
    connect(&m_poller, &HelperPoller::intervalChanged, this, [this] {
        if (m_poller.fast())
            updateNow();
    });
    connect(&m_floor, &FloorSender::expired, this, &FanController::boostExpired);
    connect(&m_floor, &FloorSender::boostChanged, this, &FanController::boostChanged);
    connect(&m_floor, &FloorSender::spinUpChanged, this, &FanController::spinUpChanged);
    // A floor's answer refreshes the status line; the sender asks for a status itself.
    connect(&m_floor, &FloorSender::floorAnswered, this,
        [this](bool ok) { setStatusMessage(ok ? QString() : tr("Couldn't set fans.")); });
    connect(&m_auto, &AutoCooling::changed, this, &FanController::coolingChanged);
    connect(&m_safety, &SafetyHold::started, &m_floor, &FloorSender::clearSpinUp);
    connect(&m_safety, &SafetyHold::changed, this, &FanController::helperStateChanged);
    connect(&m_install, &HelperInstall::changed, this, &FanController::helperStateChanged);
    connect(&m_install, &HelperInstall::message, this, &FanController::setStatusMessage);
    if (m_install.installed())
        connectIfNeeded();

    if (m_parts.profiles) {
        m_profileCooling = new ProfileCooling(*m_parts.profiles, this);
        connect(m_profileCooling, &ProfileCooling::textChanged, this, &FanController::coolingChanged);
        const auto follow = [this] {
            m_profileCooling->want(m_fanControlUnavailable.isEmpty() ? std::nullopt : m_auto.powerProfile(choice()));
        };
        connect(this, &FanController::coolingChanged, this, follow);
        connect(this, &FanController::helperStateChanged, this, follow);
    }
    if (m_parts.thermal) {
        connect(m_parts.thermal, &platform::ThermalPressure::levelChanged, this, [this] {
            if (m_heat.updateLevel())
                emit thermalStateChanged();
        });
    }
}

FanController::~FanController() = default;

void FanController::pollTick()
{
    // The time is read by the boost's countdown, the spin-up and the panel's
    // live figures, each of which keeps the poll fast. At rest the local-time
    // lookup would be a good part of what a poll costs, so it waits.
    if (m_poller.fast())
        updateNow();
    refresh();
}

void FanController::updateNow()
{
    const QDateTime now = m_parts.clock->now();
    if (now != m_now) {
        m_now = now;
        emit nowChanged();
    }
}

void FanController::applyStatus(const QVariantMap& status)
{
    if (m_statusMessage == HelperPoller::slowHelperMessage())
        setStatusMessage(QString()); // it answered after all
    const QVariant fans = status.value("fans");
    if (fans.typeId() == QMetaType::QVariantList) {
        if (m_fans.apply(fans))
            emit fansChanged();
        m_floor.followFans(m_fans.fans(), m_now);
    }

    const QVariant boosted = status.value("isBoosted");
    // The helper dropped a floor the app still holds: its watchdog fired while
    // the app was starved, or it was restarted. Only a drop counts, so a floor
    // the helper refuses is not retried on every poll.
    const bool helperLetGo = boosted.typeId() == QMetaType::Bool && !boosted.toBool() && m_floor.isBoosted()
        && m_floor.targetPercent() > 0;
    if (boosted.typeId() == QMetaType::Bool)
        m_floor.setBoosted(boosted.toBool());
    if (m_safety.apply(status, helperLetGo, m_floor.targetPercent()))
        m_floor.reassert();
    if (helperLetGo && m_safety.reason().isEmpty())
        m_floor.reassert();

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

    reconcileDaemonState(
        StatusValue::boolOrFalse(status.value("isBoosted")), StatusValue::boolOrFalse(status.value("lidStayAwake")));
    evaluateAutoCooling(false);
    m_heat.checkCpu(m_temperatures.cpuSmoothed());
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
    return m_floor.isBoosted() || m_lid.wanted() || m_helperHolds;
}

void FanController::reconcileDaemonState(bool daemonForcingFans, bool daemonLidLock)
{
    m_helperHolds = daemonForcingFans || daemonLidLock;
    m_poller.updateInterval(holdsAnything());
    const bool wantsFansHeld = m_fansEnabled || m_auto.trigger() || m_auto.engaged();
    const SelfHeal::Release release = m_selfHeal.check(daemonForcingFans, daemonLidLock, wantsFansHeld, m_lid.wanted());
    if (release.fans)
        resetBoost();
    if (release.lid && m_install.installed())
        m_lid.release();
}

void FanController::reconcileToOffOnLaunch()
{
    connectIfNeeded();
    m_lid.forget();
    if (!m_parts.link->isOpen())
        return;
    m_parts.link->stopBoost(this, [](bool, const QString&) {});
    m_lid.release();
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
    return m_fans.forView();
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

QString FanController::profileCooling() const
{
    return m_profileCooling ? m_profileCooling->text() : QString();
}

FanController::UserAction::UserAction(FanController& controller)
    : m_controller(controller)
{
    m_controller.m_floor.beginUserAction();
    m_controller.m_safety.clear();
}

FanController::UserAction::~UserAction()
{
    m_controller.m_floor.endUserAction();
}

AutoCooling::Choice FanController::choice() const
{
    return {m_coolingMode, m_fansEnabled, m_manualPercent, m_coolingProfile};
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
    if (m_coolingMode == CoolingMode::automatic && m_auto.active())
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
    const auto trigger = m_auto.trigger();
    return trigger ? QString::fromLatin1(core::CoolingProfile::rawValue(*trigger)) : QString();
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
        m_floor.setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    } else {
        // The manual boost's timer goes too, even when its floor never took.
        if (m_floor.isBoosted())
            resetBoost();
        else
            m_floor.cancelExpiry();
        setAuto(true);
    }
}

void FanController::setFansEnabled(bool on)
{
    if (!m_install.installed())
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
        if (m_floor.isBoosted())
            resetBoost();
        // Another manager's request keeps cooling after the user switches off.
        if (m_auto.trigger())
            evaluateAutoCooling(true);
        return;
    }
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();
    if (m_coolingMode == CoolingMode::automatic) {
        setAuto(true);
    } else {
        m_floor.setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    }
}

void FanController::setManualFloor(double percent)
{
    if (!m_install.installed() || !m_fansEnabled || m_coolingMode != CoolingMode::manual || std::isnan(percent))
        return;
    UserAction action(*this);
    if (percent < core::FanFloor::resolutionPercent) {
        setFansEnabled(false);
        return;
    }
    m_manualPercent = std::min(percent, 100.0);
    emit coolingChanged();
    if (!m_auto.trigger()) {
        m_floor.setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    } else {
        evaluateAutoCooling(true);
    }
}

void FanController::setAuto(bool on)
{
    m_auto.setActive(on);
    if (!on) {
        m_floor.setTargetPercent(0);
        resetBoost();
        return;
    }
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();
    evaluateAutoCooling(true);
}

void FanController::evaluateAutoCooling(bool force)
{
    if (!m_install.installed())
        return;
    switch (m_auto.evaluate(choice(), m_temperatures, m_floor.targetPercent(), force)) {
    case AutoCooling::Step::none:
        return;
    case AutoCooling::Step::release:
        m_floor.setTargetPercent(0);
        resetBoost();
        return;
    case AutoCooling::Step::send:
        m_floor.setTargetPercent(m_auto.floor());
        applyBoost(std::nullopt, true);
        return;
    }
}

bool FanController::applyBoost(std::optional<double> durationS, bool automatic)
{
    if (!m_install.installed())
        return false;
    connectIfNeeded();
    if (!m_parts.link->isOpen())
        return false;
    // Held back after a safety release: only the user asking again sends it.
    const double p = m_floor.targetPercent();
    if (!m_safety.reason().isEmpty() && p > 0 && !m_floor.inUserAction())
        return false;
    if (p > 0 && !automatic && p != m_manualPercent) {
        m_manualPercent = p;
        emit coolingChanged();
    }
    m_floor.hold(durationS, automatic, m_boostDuration);
    return true;
}

void FanController::boostExpired()
{
    if (m_fansEnabled) {
        m_fansEnabled = false;
        emit coolingChanged();
    }
    resetBoost();
    if (m_auto.trigger())
        evaluateAutoCooling(true);
    notify(tr("Fan boost finished"),
        m_auto.trigger() ? tr("The boost timer ended — automation keeps cooling.")
                         : tr("The boost timer ended — fans are back on automatic."));
}

void FanController::requestCooling(std::optional<Kind> kind, const QString& source)
{
    if (!m_auto.request(kind, source))
        return;
    if (m_auto.trigger()) {
        if (m_parts.notifier)
            m_parts.notifier->requestAuthorizationIfNeeded();
        evaluateAutoCooling(true);
        return;
    }
    if (!m_fansEnabled) {
        if (m_auto.engaged()) {
            m_auto.disengage();
            m_floor.setTargetPercent(0);
            resetBoost();
        }
    } else if (m_coolingMode == CoolingMode::manual) {
        // The user's manual floor returns, with a fresh boost timer.
        m_auto.disengage();
        m_floor.setTargetPercent(m_manualPercent);
        applyBoost(m_boostDuration, false);
    } else {
        evaluateAutoCooling(true);
    }
}

QVariant FanController::spinUpRemainingForView() const
{
    const auto left = spinUpRemaining();
    return left ? QVariant(*left) : QVariant();
}

} // namespace quillon::app
