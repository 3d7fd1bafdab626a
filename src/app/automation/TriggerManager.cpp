#include "TriggerManager.h"

#include "app/Lang.h"
#include "app/Settings.h"
#include "app/fan/FanController.h"
#include "app/power/PowerSource.h"
#include "platform/ExternalDisplays.h"

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
    connect(&m_assertions, &SleepAssertions::stateChanged, this, &TriggerManager::updateActive);
    m_pollTimer.setInterval(pollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &TriggerManager::evaluate);
    if (m_parts.startTimers)
        m_pollTimer.start();
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
    emit rulesChanged();
    evaluate();
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

bool TriggerManager::batteryLow() const
{
    if (!m_parts.power || !m_parts.settings->flag(Key::lowBatteryAutoStop))
        return false;
    const PowerInfo power = m_parts.power->current();
    return power.hasBattery && !power.onAC && power.percentage && *power.percentage <= lowBatteryPercent;
}

void TriggerManager::evaluate()
{
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
    if (!m_enabled || batteryLow()) {
        inactive();
        emit evaluated();
        return;
    }
    Reasons reasons;
    reasons.onAC = m_onAC && m_parts.power && m_parts.power->current().onAC;
    reasons.extDisplay = m_extDisplay && m_parts.displays && m_parts.displays->connected();

    QList<const TriggerApp*> matched;
    for (const TriggerApp& app : std::as_const(m_apps)) {
        if (running.contains(app.bundleID))
            matched.append(&app);
    }
    if (!matched.isEmpty()) {
        reasons.apps = matched.size() == 1
            ? matched.first()->name
            : matched.first()->name + QStringLiteral(" +") + QString::number(matched.size() - 1);
    }
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
    return reasons.join(QStringLiteral(", "));
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
    const bool active = ruleHolds()
        && (m_assertions.holding(SleepAssertions::Kind::system)
            || m_assertions.holding(SleepAssertions::Kind::display));
    if (active == m_active)
        return;
    m_active = active;
    emit activeChanged();
}

} // namespace quillon::app
