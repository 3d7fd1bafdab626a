#include "FanController.h"

#include "HelperLink.h"
#include "ProfileCooling.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "platform/Clock.h"

#include <QFile>
#include <cmath>

namespace quillon::app {

namespace {

using Level = platform::ThermalPressure::Level;

constexpr int kPollIntervalMs = 1000;
// At rest the helper holds nothing its watchdog could hand back and nothing on
// screen shows live figures: a status every few seconds is enough.
constexpr int kRestPollIntervalMs = 5000;
constexpr int kSelfHealPatience = 4; // mismatching polls tolerated before the fifth acts
constexpr double kSpinUpReachedShare = 0.85;
constexpr qint64 kSpinUpGiveUpS = 20;
constexpr double kOverheatAlertC = 95.0;
constexpr double kOverheatRearmC = 88.0;
// German only, as the link's other messages.
const QString kSlowHelperMessage = QStringLiteral("Helper antwortet langsam — warte weiter");

bool isIntegral(const QVariant& v)
{
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

// A finite number, or nothing: a temperature of NaN or infinity is no reading.
std::optional<double> finiteNumber(const QVariant& v)
{
    if (v.typeId() != QMetaType::Double && v.typeId() != QMetaType::Float && !isIntegral(v))
        return std::nullopt;
    const double value = v.toDouble();
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

bool boolOrFalse(const QVariant& v)
{
    return v.typeId() == QMetaType::Bool && v.toBool();
}

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

    HelperLink* link = m_parts.link;
    connect(link, &HelperLink::statusArrived, this, &FanController::applyStatus);
    connect(link, &HelperLink::connectionLost, this,
        [this] { setStatusMessage(QStringLiteral("Helper-Verbindung verloren")); });
    connect(link, &HelperLink::connectionInterrupted, this,
        [this] { setStatusMessage(QStringLiteral("Helper unterbrochen — verbinde neu")); });
    connect(link, &HelperLink::requestFailed, this,
        [this](const QString& text) { setStatusMessage(QStringLiteral("XPC-Fehler: ") + text); });
    connect(link, &HelperLink::requestSlow, this, [this] { setStatusMessage(kSlowHelperMessage); });
    connect(link, &HelperLink::connectionRestored, this, [this] { setStatusMessage(QString()); });
    if (m_helperInstalled)
        connectIfNeeded();

    m_pollTimer.setInterval(kRestPollIntervalMs);
    if (m_parts.profiles) {
        m_profileCooling = new ProfileCooling(*m_parts.profiles, this);
        connect(m_profileCooling, &ProfileCooling::textChanged, this, &FanController::coolingChanged);
        const auto follow = [this] {
            m_profileCooling->want(wantedPowerProfile());
        };
        connect(this, &FanController::coolingChanged, this, follow);
        connect(this, &FanController::helperStateChanged, this, follow);
    }
    connect(&m_pollTimer, &QTimer::timeout, this, &FanController::pollTick);
    m_boostExpiryTimer.setSingleShot(true);
    connect(&m_boostExpiryTimer, &QTimer::timeout, this, &FanController::boostExpired);
    if (m_parts.startTimers)
        m_pollTimer.start();
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
    if (m_parts.link->isOpen())
        m_parts.link->getStatus(this, [this](const QVariantMap& status) { applyStatus(status); });
}

void FanController::pollTick()
{
    const QDateTime now = m_parts.clock->now();
    if (now != m_now) {
        m_now = now;
        emit nowChanged();
    }
    // A tick never opens a connection: after a loss, polling stays quiet until
    // an action reconnects.
    refresh();
}

void FanController::applyFans(const QVariant& value)
{
    QList<FanInfo> fans;
    for (const QVariant& entry : value.toList()) {
        const QVariantMap fan = entry.toMap();
        const QVariant index = fan.value("index");
        const QVariant current = fan.value("currentRPM");
        const QVariant min = fan.value("minRPM");
        const QVariant max = fan.value("maxRPM");
        if (!isIntegral(index) || !isIntegral(current) || !isIntegral(min) || !isIntegral(max))
            continue;
        const QVariant target = fan.value("targetRPM");
        fans.append(
            {index.toInt(), current.toInt(), min.toInt(), max.toInt(), isIntegral(target) ? target.toInt() : 0});
    }
    if (fans != m_fans) {
        m_fans = fans;
        emit fansChanged();
    }
}

void FanController::endSpinUpIfDone()
{
    if (!m_spinningUp)
        return;
    bool done = !m_spinUpStarted.isValid();
    for (const FanInfo& fan : std::as_const(m_fans)) {
        if (fan.targetRPM > 0 && fan.currentRPM >= static_cast<int>(fan.targetRPM * kSpinUpReachedShare))
            done = true;
    }
    if (m_spinUpStarted.isValid() && m_spinUpStarted.secsTo(m_now) > kSpinUpGiveUpS)
        done = true;
    if (done)
        clearSpinUp();
}

void FanController::applyStatus(const QVariantMap& status)
{
    if (m_statusMessage == kSlowHelperMessage)
        setStatusMessage(QString()); // it answered after all
    const QVariant fans = status.value("fans");
    if (fans.typeId() == QMetaType::QVariantList) {
        applyFans(fans);
        endSpinUpIfDone();
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

    bool temperatures = false;
    if (const auto cpu = finiteNumber(status.value("cpuTemp"))) {
        m_cpuTemp = cpu;
        m_tempHistory.append(*cpu);
        m_cpuTempSmoothed = m_tempHistory.median();
        if (m_cpuTempSmoothed)
            m_tempTrend.append(*m_cpuTempSmoothed);
        temperatures = true;
    }
    // Unlike the CPU reading, a missing GPU reading clears the current value;
    // the smoothed one stays.
    if (const auto gpu = finiteNumber(status.value("gpuTemp"))) {
        m_gpuTemp = gpu;
        m_gpuHistory.append(*gpu);
        m_gpuTempSmoothed = m_gpuHistory.median();
        temperatures = true;
    } else if (m_gpuTemp) {
        m_gpuTemp.reset();
        temperatures = true;
    }
    if (temperatures)
        emit temperaturesChanged();

    const bool override = boolOrFalse(status.value("thermalOverride"));
    const double effective = finiteNumber(status.value("effectivePercent")).value_or(0.0);
    const QVariant unavailableValue = status.value("fanControlUnavailable");
    const QString unavailable
        = unavailableValue.typeId() == QMetaType::QString ? unavailableValue.toString() : QString();
    if (override != m_thermalOverride || effective != m_effectivePercent || unavailable != m_fanControlUnavailable) {
        m_thermalOverride = override;
        m_effectivePercent = effective;
        m_fanControlUnavailable = unavailable;
        emit helperStateChanged();
    }

    reconcileDaemonState(boolOrFalse(status.value("isBoosted")), boolOrFalse(status.value("lidStayAwake")));
    evaluateAutoCooling(false);
    checkHeatAlert();
}

void FanController::applySafetyState(const QVariantMap& status, bool helperLetGo)
{
    const bool pending = boolOrFalse(status.value("releasePending"));
    if (pending != m_releasePending) {
        m_releasePending = pending;
        emit helperStateChanged();
        if (pending) {
            notify(tr("Fans not handed back yet"),
                tr("The firmware has not taken the fans back. Quillon holds them at full speed and keeps trying."));
        }
    }

    const QVariant releaseValue = status.value("safetyRelease");
    const QString release = releaseValue.typeId() == QMetaType::QString ? releaseValue.toString() : QString();
    const double clearFor = finiteNumber(status.value("safetyClearSeconds")).value_or(0.0);
    const bool helperHolds = boolOrFalse(status.value("isBoosted"));
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
    const bool had = m_liveViews.contains(source);
    if (shown == had)
        return;
    if (shown)
        m_liveViews.insert(source);
    else
        m_liveViews.remove(source);
    updatePollInterval();
    // Whoever just looked wants today's figures, not those of up to five seconds ago.
    if (shown)
        refresh();
}

void FanController::updatePollInterval()
{
    const bool holding = m_isBoosted || m_intendedLidLock || m_helperHolds;
    m_pollTimer.setInterval(holding || !m_liveViews.isEmpty() ? kPollIntervalMs : kRestPollIntervalMs);
}

void FanController::pollFast()
{
    // Before a floor or the lid lock goes out, so the helper's watchdog is fed every second from its start.
    m_pollTimer.setInterval(kPollIntervalMs);
}

void FanController::reconcileDaemonState(bool daemonForcingFans, bool daemonLidLock)
{
    m_helperHolds = daemonForcingFans || daemonLidLock;
    updatePollInterval();
    const bool wantsFansHeld = m_fansEnabled || m_triggerProfile || m_autoEngaged;
    const bool fansMismatch = daemonForcingFans && !wantsFansHeld;
    const bool lidMismatch = daemonLidLock && !m_intendedLidLock;
    if (!fansMismatch && !lidMismatch) {
        m_reconcileMismatchTicks = 0;
        return;
    }
    // The helper may simply not have caught up yet; act on the fifth poll in a row.
    if (++m_reconcileMismatchTicks <= kSelfHealPatience)
        return;
    m_reconcileMismatchTicks = 0;
    qInfo().noquote() << QStringLiteral(
        "Quillon: self-heal — daemon forcing unintended state (fans=%1 lid=%2), releasing")
                             .arg(fansMismatch ? "yes" : "no", lidMismatch ? "yes" : "no");
    if (fansMismatch)
        resetBoost();
    if (lidMismatch && m_helperInstalled) {
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
        pollFast();
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
    const double t = m_cpuTempSmoothed.value_or(0.0);
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
    return optionalForView(m_cpuTemp);
}

QVariant FanController::cpuTempSmoothedForView() const
{
    return optionalForView(m_cpuTempSmoothed);
}

QVariant FanController::gpuTempForView() const
{
    return optionalForView(m_gpuTemp);
}

QVariant FanController::gpuTempSmoothedForView() const
{
    return optionalForView(m_gpuTempSmoothed);
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

} // namespace quillon::app
