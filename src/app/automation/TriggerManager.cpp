#include "TriggerManager.h"

#include "app/Lang.h"
#include "app/Settings.h"
#include "app/fan/FanController.h"
#include "app/power/PowerSource.h"
#include "platform/ExternalDisplays.h"
#include "platform/MediaPlayback.h"

#include <QJsonArray>
#include <QSet>
#include <algorithm>

namespace quillon::app {

namespace {
using Key = Settings::Key;
} // namespace

TriggerManager::TriggerManager(Parts parts, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_assertions(m_parts.assertions)
{
    Settings& settings = *m_parts.settings;
    m_enabled = settings.flag(Key::triggersEnabled);
    m_onAC = settings.flag(Key::triggerOnAC);
    m_extDisplay = settings.flag(Key::triggerExtDisplay);
    m_fullScreen = settings.flag(Key::triggerFullScreen);
    m_media = settings.flag(Key::triggerMedia);
    for (const QJsonValue& id : settings.jsonArray(Key::triggerExcluded)) {
        if (id.isString() && !id.toString().isEmpty() && !m_excluded.contains(id.toString())
            && m_excluded.size() < maxApps)
            m_excluded.append(id.toString());
    }
    bool complete = true;
    loadApps(TriggerApp::decodeList(settings.jsonArray(Key::triggerApps), &complete));
    if (!complete)
        settings.keepUnreadable(Key::triggerApps);

    if (m_parts.apps) {
        connect(m_parts.apps, &platform::RunningApps::changed, this, &TriggerManager::evaluate);
        connect(m_parts.apps, &platform::RunningApps::found, this, &TriggerManager::decide);
    }
    if (m_parts.displays)
        connect(m_parts.displays, &platform::ExternalDisplays::changed, this, &TriggerManager::evaluate);
    if (m_parts.fullScreen)
        connect(m_parts.fullScreen, &platform::FullScreenWindows::changed, this, &TriggerManager::evaluate);
    if (m_parts.media)
        connect(m_parts.media, &platform::MediaPlayback::changed, this, &TriggerManager::evaluate);
    updateWatching();
    connect(&m_assertions, &SleepAssertions::stateChanged, this, &TriggerManager::updateActive);
    connect(&m_pollTimer, &GridTimer::timeout, this, &TriggerManager::evaluate);
    updatePolling();
}

TriggerManager::~TriggerManager() = default;

QString TriggerManager::saveError() const
{
    return m_parts.settings->writeError();
}

void TriggerManager::setAutomationEnabled(bool on)
{
    m_enabled = on;
    m_parts.settings->setFlag(Key::triggersEnabled, on);
    updateWatching();
    updatePolling();
    emit rulesChanged();
    evaluate();
}

void TriggerManager::setKeepAwakeOnFullScreen(bool on)
{
    m_fullScreen = on;
    m_parts.settings->setFlag(Key::triggerFullScreen, on);
    updateWatching();
    emit rulesChanged();
    evaluate();
}

void TriggerManager::setKeepAwakeOnMedia(bool on)
{
    m_media = on;
    m_parts.settings->setFlag(Key::triggerMedia, on);
    updateWatching();
    emit rulesChanged();
    evaluate();
}

// Windows and players are watched only while their rule can hold.
void TriggerManager::updateWatching()
{
    if (m_parts.fullScreen)
        m_parts.fullScreen->setWatching(m_enabled && m_fullScreen);
    if (m_parts.media)
        m_parts.media->setWatching(m_enabled && m_media);
}

// Switched off, nothing is left to look at: the app is not woken for it.
void TriggerManager::updatePolling()
{
    if (m_parts.startTimers && m_enabled)
        m_pollTimer.start();
    else
        m_pollTimer.stop();
}

bool TriggerManager::addExcluded(const QString& id)
{
    if (id.isEmpty() || m_excluded.contains(id) || m_excluded.size() >= maxApps)
        return false;
    m_excluded.append(id);
    storeExcluded();
    return true;
}

bool TriggerManager::removeExcluded(const QString& id)
{
    if (!m_excluded.removeOne(id))
        return false;
    storeExcluded();
    return true;
}

void TriggerManager::storeExcluded()
{
    m_parts.settings->setJsonArray(Key::triggerExcluded, QJsonArray::fromStringList(m_excluded));
    emit rulesChanged();
    evaluate();
}

QString TriggerManager::fullScreenUnavailable() const
{
    using Support = platform::FullScreenWindows::Support;
    const Support support = m_parts.fullScreen ? m_parts.fullScreen->support() : Support::noDisplay;
    switch (support) {
    case Support::available:
        return {};
    case Support::wayland:
        return tr("this Wayland desktop tells no other app which window is full screen");
    case Support::noDisplay:
        break;
    }
    return tr("no display to ask which window is full screen");
}

QString TriggerManager::mediaUnavailable() const
{
    return m_parts.media && m_parts.media->available() ? QString()
                                                       : tr("no session bus, where media players say that they play");
}

void TriggerManager::setKeepAwakeOnAC(bool on)
{
    m_onAC = on;
    m_parts.settings->setFlag(Key::triggerOnAC, on);
    emit rulesChanged();
    evaluate();
}

void TriggerManager::setKeepAwakeOnExternalDisplay(bool on)
{
    m_extDisplay = on;
    m_parts.settings->setFlag(Key::triggerExtDisplay, on);
    emit rulesChanged();
    evaluate();
}

void TriggerManager::loadApps(const QList<TriggerApp>& stored)
{
    QSet<QString> seen;
    for (const TriggerApp& app : stored) {
        if (m_apps.size() == maxApps)
            break;
        if (!app.bundleID.isEmpty() && !seen.contains(app.bundleID)) {
            seen.insert(app.bundleID);
            m_apps.append(app);
        }
    }
}

bool TriggerManager::addApp(const TriggerApp& app)
{
    if (app.bundleID.isEmpty() || appListFull()
        || std::any_of(m_apps.begin(), m_apps.end(), [&](const TriggerApp& a) { return a.bundleID == app.bundleID; }))
        return false;
    m_apps.append(app);
    storeApps();
    return true;
}

bool TriggerManager::removeApp(const QString& bundleID)
{
    if (m_apps.removeIf([&](const TriggerApp& a) { return a.bundleID == bundleID; }) == 0)
        return false;
    storeApps();
    return true;
}

void TriggerManager::setCooling(std::optional<Kind> cooling, const QString& bundleID)
{
    const auto found
        = std::find_if(m_apps.begin(), m_apps.end(), [&](const TriggerApp& a) { return a.bundleID == bundleID; });
    if (found == m_apps.end() || found->cooling == cooling)
        return;
    found->cooling = cooling;
    storeApps();
}

void TriggerManager::storeApps()
{
    m_parts.settings->setJsonArray(Key::triggerApps, TriggerApp::encodeList(m_apps));
    emit appsChanged();
    evaluate();
}

QList<platform::RunningApps::App> TriggerManager::installedApps() const
{
    QList<platform::RunningApps::App> apps
        = m_parts.apps ? m_parts.apps->installed() : QList<platform::RunningApps::App>();
    for (auto& app : apps)
        app.name = localName(app);
    return apps;
}

std::optional<platform::RunningApps::App> TriggerManager::installedApp(const QString& id) const
{
    auto app = m_parts.apps ? m_parts.apps->find(id) : std::nullopt;
    if (app)
        app->name = localName(*app);
    return app;
}

QString TriggerManager::localName(const platform::RunningApps::App& app) const
{
    return !app.germanName.isEmpty() && Lang::isGerman(*m_parts.settings) ? app.germanName : app.name;
}

std::optional<PowerInfo> TriggerManager::readPower() const
{
    if (!m_enabled || !m_parts.power || !(m_onAC || m_parts.settings->flag(Key::lowBatteryAutoStop)))
        return std::nullopt;
    return m_parts.power->current();
}

bool TriggerManager::batteryLow() const
{
    if (!m_power || !m_parts.settings->flag(Key::lowBatteryAutoStop))
        return false;
    return m_power->hasBattery && !m_power->onAC && m_power->percentage && *m_power->percentage <= lowBatteryPercent;
}

QString TriggerManager::firstPlus(const QStringList& names)
{
    if (names.size() <= 1)
        return names.value(0);
    return names.first() + QStringLiteral(" +") + QString::number(names.size() - 1);
}

QString TriggerManager::fullScreenReason()
{
    if (!m_fullScreen || !m_parts.fullScreen)
        return {};
    const auto window = m_parts.fullScreen->current();
    if (!window)
        return {};
    const QString excludedBy = m_parts.apps && !m_excluded.isEmpty()
        ? m_parts.apps->appOfWindow(window->pid, window->windowClass, m_excluded)
        : QString();
    if (!excludedBy.isEmpty()) {
        const auto app = installedApp(excludedBy);
        m_seen.excludedFullScreen = app ? app->name : excludedBy;
        return {};
    }
    return window->name.isEmpty() ? tr("an app") : window->name;
}

void TriggerManager::evaluate()
{
    m_power = readPower();
    if (m_enabled && !batteryLow() && !m_apps.isEmpty() && m_parts.apps) {
        QStringList ids;
        for (const TriggerApp& app : std::as_const(m_apps))
            ids.append(app.bundleID);
        m_parts.apps->lookUp(ids); // decide() follows with the answer
        return;
    }
    decide({});
}

void TriggerManager::decide(const QSet<QString>& running)
{
    // An answer may come after automation was switched off or the battery ran low.
    m_seen = Seen{};
    m_seen.batteryLow = m_enabled && batteryLow();
    if (!m_enabled || m_seen.batteryLow) {
        inactive();
        emit evaluated();
        return;
    }
    Reasons reasons;
    reasons.fullScreen = fullScreenReason();
    if (m_media && m_parts.media)
        reasons.media = firstPlus(m_parts.media->playing());
    reasons.onAC = m_onAC && m_power && m_power->onAC;
    reasons.extDisplay = m_extDisplay && m_parts.displays && m_parts.displays->connected();

    QList<const TriggerApp*> matched;
    for (const TriggerApp& app : std::as_const(m_apps)) {
        if (running.contains(app.bundleID))
            matched.append(&app);
    }
    QStringList names;
    for (const TriggerApp* app : std::as_const(matched))
        names.append(app->name);
    reasons.apps = firstPlus(names);
    // silent < balanced < max: the strongest asked for wins.
    std::optional<Kind> cooling;
    for (const TriggerApp* app : std::as_const(matched)) {
        if (app->cooling && (!cooling || *app->cooling > *cooling))
            cooling = app->cooling;
    }

    if (reasons == Reasons{}) {
        m_assertions.stopAll();
    } else {
        m_assertions.start(SleepAssertions::Kind::system);
        m_assertions.start(SleepAssertions::Kind::display);
    }
    requestCooling(cooling);
    publish(reasons, cooling);
    emit evaluated();
}

QString TriggerManager::activeReason() const
{
    QStringList reasons;
    if (m_reasons.onAC)
        reasons.append(tr("on AC power"));
    if (m_reasons.extDisplay)
        reasons.append(tr("external display"));
    if (!m_reasons.apps.isEmpty())
        reasons.append(m_reasons.apps);
    if (!m_reasons.fullScreen.isEmpty())
        reasons.append(tr("full screen: %1").arg(m_reasons.fullScreen));
    if (!m_reasons.media.isEmpty())
        reasons.append(tr("media playing: %1").arg(m_reasons.media));
    return reasons.join(QStringLiteral(", "));
}

QList<TriggerManager::RuleState> TriggerManager::ruleStates() const
{
    // Why a rule that is switched on does not hold, in the order it is decided.
    const auto notHolding = [this](const QString& unavailable, const QString& otherwise) {
        if (!unavailable.isEmpty())
            return unavailable;
        if (!m_enabled)
            return tr("automation is off");
        if (m_seen.batteryLow)
            return tr("on battery at %1 % or less").arg(lowBatteryPercent);
        return otherwise;
    };
    const auto state
        = [&](const char* rule, bool on, const QString& holding, const QString& unavailable, const QString& otherwise) {
              if (!on)
                  return RuleState{QString::fromLatin1(rule), false, false, tr("switched off")};
              if (!holding.isEmpty())
                  return RuleState{QString::fromLatin1(rule), true, true, holding};
              return RuleState{QString::fromLatin1(rule), true, false, notHolding(unavailable, otherwise)};
          };
    const QString excluded = m_seen.excludedFullScreen.isEmpty()
        ? tr("no other app's window is full screen")
        : tr("%1 is full screen, but excluded").arg(m_seen.excludedFullScreen);
    return {
        state("onAC", m_onAC, m_reasons.onAC ? tr("on AC power") : QString(), {}, tr("on battery")),
        state("externalDisplay", m_extDisplay, m_reasons.extDisplay ? tr("external display") : QString(), {},
            tr("no external display")),
        m_apps.isEmpty() ? RuleState{QStringLiteral("apps"), false, false, tr("no app listed")}
                         : state("apps", true, m_reasons.apps, {}, tr("none of the listed apps runs")),
        state("fullScreen", m_fullScreen,
            m_reasons.fullScreen.isEmpty() ? QString() : tr("full screen: %1").arg(m_reasons.fullScreen),
            fullScreenUnavailable(), excluded),
        state("media", m_media, m_reasons.media.isEmpty() ? QString() : tr("media playing: %1").arg(m_reasons.media),
            mediaUnavailable(), tr("no player is playing")),
    };
}

void TriggerManager::inactive()
{
    m_assertions.stopAll();
    requestCooling(std::nullopt);
    publish(Reasons{}, std::nullopt);
}

void TriggerManager::requestCooling(std::optional<Kind> kind)
{
    if (m_coolingSink)
        m_coolingSink->requestCooling(kind, QString::fromLatin1(coolingSource));
}

void TriggerManager::publish(const Reasons& reasons, std::optional<Kind> cooling)
{
    const bool changed = reasons != m_reasons || cooling != m_cooling;
    m_reasons = reasons;
    m_cooling = cooling;
    if (changed)
        emit activeChanged();
    updateActive();
}

void TriggerManager::updateActive()
{
    const auto any = [this](SleepAssertions::KindState::Phase phase) {
        return m_assertions.state(SleepAssertions::Kind::system).phase == phase
            || m_assertions.state(SleepAssertions::Kind::display).phase == phase;
    };
    const bool active = ruleHolds() && any(SleepAssertions::KindState::Phase::inForce);
    const bool unconfirmed = ruleHolds() && !active && any(SleepAssertions::KindState::Phase::confirming);
    if (active == m_active && unconfirmed == m_unconfirmed)
        return;
    m_active = active;
    m_unconfirmed = unconfirmed;
    emit activeChanged();
}

} // namespace quillon::app
