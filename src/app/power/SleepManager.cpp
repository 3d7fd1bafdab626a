#include "SleepManager.h"

#include "DriveManager.h"
#include "KeepAwakePause.h"
#include "LidManager.h"
#include "PowerSource.h"
#include "ProcessKeepAwake.h"
#include "app/Lang.h"
#include "app/Notifier.h"
#include "app/Settings.h"
#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "app/install/UpdateChecker.h"
#include "platform/Clock.h"

#include <QLocale>
#include <algorithm>

namespace quillon::app {

namespace {
constexpr qint64 kMinimumExpiryMs = 500;
constexpr int kTickIntervalMs = 1000;
} // namespace

SleepManager::SleepManager(Services services, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_assertions(m_services.assertions)
    , m_power(std::make_unique<PowerSource>(m_services.powerSupply))
{
    FanController::Parts fanParts;
    fanParts.link = m_services.helperLink;
    fanParts.settings = m_services.settings;
    fanParts.clock = m_services.clock;
    fanParts.notifier = m_services.notifier;
    fanParts.thermal = m_services.thermal;
    fanParts.profiles = m_services.profiles;
    fanParts.installer = m_services.installer;
    fanParts.bundledHelperPath = m_services.bundledHelperPath;
    fanParts.installedHelperPath = m_services.installedHelperPath;
    fanParts.startTimers = m_services.startTimers;
    m_fan = std::make_unique<FanController>(std::move(fanParts));
    m_updates = std::make_unique<UpdateChecker>(m_services.updateFeed, m_services.appVersion);

    TriggerManager::Parts triggerParts;
    triggerParts.assertions = m_services.assertions;
    triggerParts.power = m_power.get();
    triggerParts.apps = m_services.runningApps;
    triggerParts.displays = m_services.displays;
    triggerParts.fullScreen = m_services.fullScreen;
    triggerParts.media = m_services.media;
    triggerParts.settings = m_services.settings;
    triggerParts.startTimers = m_services.startTimers;
    m_triggers = std::make_unique<TriggerManager>(std::move(triggerParts));

    LidManager::Parts lidParts;
    lidParts.assertions = m_services.assertions;
    lidParts.power = m_power.get();
    lidParts.lid = m_services.lidSensor;
    lidParts.lidOwner = m_services.lidOwner;
    lidParts.thermal = m_services.thermal;
    lidParts.notifier = m_services.notifier;
    lidParts.settings = m_services.settings;
    lidParts.clock = m_services.clock;
    lidParts.startTimers = m_services.startTimers;
    m_lid = std::make_unique<LidManager>(std::move(lidParts));

    m_drives = std::make_unique<DriveManager>(
        DriveManager::Parts{m_services.settings, m_services.clock, m_services.volumes, m_services.driveToucher});
    m_processes = std::make_unique<ProcessKeepAwake>(m_services.assertions, m_services.processWatcher);
    m_pause = std::make_unique<KeepAwakePause>(*m_services.clock, m_services.startTimers);
    m_pause->cover(m_assertions);
    m_pause->cover(m_triggers->assertions());
    m_pause->cover(m_processes->assertions());

    RenderModeManager::Parts renderParts;
    renderParts.assertions = m_services.assertions;
    renderParts.power = m_power.get();
    renderParts.notifier = m_services.notifier;
    renderParts.sound = m_services.sound;
    renderParts.clock = m_services.clock;
    renderParts.startTimers = m_services.startTimers;
    m_renderMode = std::make_unique<RenderModeManager>(std::move(renderParts));

    m_now = m_services.clock->now();
    m_lid->setFanController(m_fan.get());
    m_renderMode->setLinks(m_fan.get(), m_lid.get(), m_drives.get());
    m_triggers->setCoolingSink(m_fan.get());

    // A fresh start never inherits a boost or a lid lock from an earlier run.
    m_fan->reconcileToOffOnLaunch();
    m_triggers->evaluate();

    connect(&m_expiryTimer, &LongTimer::fired, this, &SleepManager::sessionExpired);
    m_tickTimer.setInterval(kTickIntervalMs);
    connect(&m_tickTimer, &QTimer::timeout, this, &SleepManager::tick);
    connect(&m_batteryWatchdog, &GridTimer::timeout, this, &SleepManager::batterySafetyCheck);
    if (m_services.startTimers)
        m_batteryWatchdog.start();

    for (auto changed : {&FanController::boostChanged, &FanController::coolingChanged})
        connect(m_fan.get(), changed, this, &SleepManager::anythingActiveChanged);
    connect(m_lid.get(), &LidManager::enabledChanged, this, &SleepManager::anythingActiveChanged);
    connect(m_renderMode.get(), &RenderModeManager::enabledChanged, this, &SleepManager::anythingActiveChanged);
    connect(&m_assertions, &SleepAssertions::stateChanged, this, [this] {
        emit sessionChanged();
        emit anythingActiveChanged();
    });
    connect(m_triggers.get(), &TriggerManager::activeChanged, this, &SleepManager::anythingActiveChanged);
    connect(m_processes.get(), &ProcessKeepAwake::changed, this, &SleepManager::anythingActiveChanged);
    connect(m_pause.get(), &KeepAwakePause::changed, this, &SleepManager::sessionChanged);
}

QList<SleepManager::Kind> SleepManager::kindsIn(SleepAssertions::KindState::Phase phase) const
{
    QList<Kind> kinds;
    for (const Kind kind : SleepAssertions::allKinds) {
        if (m_activeKinds.contains(kind) && m_assertions.state(kind).phase == phase)
            kinds.append(kind);
    }
    return kinds;
}

QString SleepManager::firstProblem() const
{
    return m_assertions.firstProblem();
}

SleepManager::~SleepManager() = default;

void SleepManager::apply(const QSet<Kind>& kinds, std::optional<QDateTime> until)
{
    for (const Kind kind : SleepAssertions::allKinds) {
        if (!kinds.contains(kind))
            m_assertions.stop(kind);
    }
    // A kind the system refuses is skipped without a word.
    for (const Kind kind : SleepAssertions::allKinds) {
        if (kinds.contains(kind))
            m_assertions.start(kind);
    }
    setActiveKinds(kinds);
    if (!kinds.isEmpty() && until)
        scheduleExpiry(*until);
    else
        cancelExpiry();
}

void SleepManager::toggle(Kind kind)
{
    QSet<Kind> kinds = m_activeKinds;
    if (m_assertions.isHeld(kind)) {
        m_assertions.stop(kind);
        kinds.remove(kind);
    } else if (m_assertions.start(kind)) {
        kinds.insert(kind);
    } else {
        return; // refused: nothing is held, so nothing is shown on and no countdown starts
    }
    setActiveKinds(kinds);
    if (kinds.isEmpty())
        cancelExpiry();
    else if (!m_expiresAt.isValid())
        scheduleExpiry(m_services.clock->now().addSecs(static_cast<qint64>(defaultToggleSeconds)));
}

void SleepManager::applyNames(const QStringList& kinds, const QDateTime& until)
{
    QSet<Kind> set;
    for (const QString& name : kinds) {
        if (const auto kind = SleepAssertions::fromRawValue(name))
            set.insert(*kind);
    }
    apply(set, until.isValid() ? std::optional(until) : std::nullopt);
}

void SleepManager::toggleName(const QString& kind)
{
    if (const auto k = SleepAssertions::fromRawValue(kind))
        toggle(*k);
}

void SleepManager::setActiveKinds(const QSet<Kind>& kinds)
{
    const bool wasActive = anythingActive();
    m_activeKinds = kinds;
    emit sessionChanged();
    if (wasActive != anythingActive())
        emit anythingActiveChanged();
}

QStringList SleepManager::activeKindNames() const
{
    QStringList names;
    for (const Kind kind : SleepAssertions::allKinds) {
        if (m_activeKinds.contains(kind))
            names.append(SleepAssertions::rawValue(kind));
    }
    return names;
}

void SleepManager::scheduleExpiry(const QDateTime& at)
{
    cancelExpiry();
    m_expiresAt = at;
    emit sessionChanged();
    if (m_services.notifier)
        m_services.notifier->requestAuthorizationIfNeeded();
    // An end already past still ends through the timer, with its notification.
    const QDateTime now = m_services.clock->now();
    m_now = now;
    emit nowChanged();
    if (m_services.startTimers) {
        m_expiryTimer.start(std::chrono::milliseconds(std::max(kMinimumExpiryMs, now.msecsTo(at))));
        m_tickTimer.start();
    }
}

void SleepManager::cancelExpiry()
{
    m_expiryTimer.stop();
    m_tickTimer.stop();
    if (m_expiresAt.isValid()) {
        m_expiresAt = QDateTime();
        emit sessionChanged();
    }
}

void SleepManager::endSession()
{
    m_assertions.stopAll();
    setActiveKinds({});
    cancelExpiry();
}

void SleepManager::sessionExpired()
{
    endSession();
    notify(tr("Keep-awake finished"), tr("The timer ended — your Mac is back to its normal sleep behaviour."));
}

void SleepManager::tick()
{
    m_now = m_services.clock->now();
    emit nowChanged();
}

std::optional<QString> SleepManager::remainingText() const
{
    if (!m_expiresAt.isValid())
        return std::nullopt;
    const qint64 left = std::max<qint64>(0, m_now.msecsTo(m_expiresAt) / 1000);
    const auto two = [](qint64 v) {
        return QStringLiteral("%1").arg(v, 2, 10, QLatin1Char('0'));
    };
    if (left < 3600)
        return QStringLiteral("%1:%2").arg(left / 60).arg(two(left % 60));
    return QStringLiteral("%1:%2:%3").arg(left / 3600).arg(two(left % 3600 / 60), two(left % 60));
}

std::optional<QString> SleepManager::expiryDescription() const
{
    if (!m_expiresAt.isValid())
        return std::nullopt;
    return describeEnd(m_expiresAt, m_now, Lang::isGerman(*m_services.settings));
}

std::optional<QString> SleepManager::pauseEndDescription() const
{
    const QDateTime until = m_pause->until();
    if (!m_pause->paused() || !until.isValid())
        return std::nullopt;
    const bool german = Lang::isGerman(*m_services.settings);
    const QDateTime now = m_services.clock->now();
    if (until.toLocalTime().date() != now.toLocalTime().date())
        return describeEnd(until, now, german);
    const QLocale locale(german ? QStringLiteral("de_DE") : QStringLiteral("en_US"));
    return locale.toString(until.toLocalTime().time(), QLocale::ShortFormat);
}

QString SleepManager::describeEnd(const QDateTime& at, const QDateTime& now, bool german)
{
    const QLocale locale(german ? QStringLiteral("de_DE") : QStringLiteral("en_US"));
    const QDateTime local = at.toLocalTime();
    const QDate today = now.toLocalTime().date();
    const QString time = locale.toString(local.time(), QLocale::ShortFormat);
    QString day;
    if (local.date() == today)
        day = tr("Today");
    else if (local.date() == today.addDays(1))
        day = tr("Tomorrow");
    else
        day = locale.toString(local.date(), QLocale::ShortFormat);
    return day + QStringLiteral(", ") + time;
}

void SleepManager::batterySafetyCheck()
{
    m_pause->resumeIfDue(); // its timer waits out a suspend
    if (!m_services.settings->flag(Settings::Key::lowBatteryAutoStop))
        return;
    const PowerInfo power = m_power->current();
    if (!power.hasBattery || power.onAC || !power.percentage) {
        m_lowBatteryStopped = false;
        return;
    }
    const int percent = *power.percentage;
    if (percent > lowBatteryRearmPercent) {
        m_lowBatteryStopped = false;
        return;
    }
    // 16..20 %: hold the latch, so the session is not stopped twice in one episode.
    if (percent > lowBatteryStopPercent || m_activeKinds.isEmpty() || m_lowBatteryStopped)
        return;
    m_lowBatteryStopped = true;
    endSession();
    notify(tr("🪫 Battery low"), tr("Below 15% on battery — keep-awake was stopped so your Mac can sleep."));
}

void SleepManager::resetAll()
{
    m_renderMode->setEnabled(false);
    endSession();
    if (m_lid->enabled())
        m_lid->setEnabled(false);
    m_fan->setFansEnabled(false);
    m_triggers->setAutomationEnabled(false);
    if (m_processes->active())
        m_processes->stopAll();
    if (m_pause->paused())
        m_pause->resume();
}

bool SleepManager::anythingActive() const
{
    // Keep-awake counts only once the system shows it in force: a refused
    // session, or one only asked for, does not light the icon.
    return !kindsInForce().isEmpty() || m_fan->isBoosted() || m_fan->fansEnabled() || m_triggers->active()
        || m_lid->enabled() || m_renderMode->enabled() || m_processes->active();
}

void SleepManager::notify(const QString& title, const QString& body)
{
    if (m_services.notifier)
        m_services.notifier->notify(title, body);
}

} // namespace quillon::app
