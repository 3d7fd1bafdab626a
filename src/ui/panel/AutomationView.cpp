#include "AutomationView.h"

#include "PanelTexts.h"
#include "app/Settings.h"
#include "app/automation/TriggerManager.h"

#include <QUrl>
#include <algorithm>

namespace quillon::ui {

namespace {

const QString kNone = QStringLiteral("none");

} // namespace

AutomationView::AutomationView(app::TriggerManager& triggers, app::Settings& settings, QObject* parent)
    : QObject(parent)
    , m_triggers(triggers)
    , m_settings(settings)
{
    connect(&triggers, &app::TriggerManager::activeChanged, this, &AutomationView::changed);
    connect(&triggers, &app::TriggerManager::rulesChanged, this, &AutomationView::changed);
    connect(&triggers, &app::TriggerManager::rulesChanged, this, &AutomationView::rulesChanged);
    connect(&triggers, &app::TriggerManager::rulesChanged, this, &AutomationView::pickerChanged);
    connect(&triggers.assertions(), &app::SleepAssertions::stateChanged, this, &AutomationView::changed);
    connect(&triggers, &app::TriggerManager::appsChanged, this, &AutomationView::appsChanged);
    connect(&triggers, &app::TriggerManager::appsChanged, this, &AutomationView::pickerChanged);
    connect(&settings, &app::Settings::changed, this, [this](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::appLanguage)) {
            emit changed();
            emit appsChanged();
        } else if (key == QLatin1String(app::Settings::Key::lowBatteryAutoStop)) {
            emit changed();
        }
    });
}

QString AutomationView::iconUrl(const QString& icon)
{
    return icon.isEmpty() ? QString()
                          : QStringLiteral("image://appicon/") + QString::fromLatin1(QUrl::toPercentEncoding(icon));
}

QString AutomationView::summary() const
{
    return PanelTexts::automationSummary(m_triggers);
}

bool AutomationView::batteryStop() const
{
    return m_settings.flag(app::Settings::Key::lowBatteryAutoStop);
}

QString AutomationView::note() const
{
    // What holds it awake, or why nothing does, while a rule holds.
    if (!m_triggers.automationEnabled() || !m_triggers.ruleHolds())
        return {};
    return app::SleepAssertions::note(m_triggers.assertions().state(app::SleepAssertions::Kind::system));
}

QVariantList AutomationView::apps() const
{
    QVariantList list;
    for (const app::TriggerApp& app : m_triggers.apps()) {
        QVariantMap entry = appEntry(app.bundleID, app.name);
        entry.insert("name", app.name);
        entry.insert(
            "cooling", app.cooling ? QString::fromLatin1(core::CoolingProfile::rawValue(*app.cooling)) : kNone);
        list.append(entry);
    }
    return list;
}

QVariantMap AutomationView::appEntry(const QString& id, const QString& fallbackName) const
{
    const auto installed = m_triggers.installedApp(id);
    return {{"id", id}, {"name", installed ? installed->name : fallbackName},
        {"icon", iconUrl(installed ? installed->icon : QString())}};
}

QVariantList AutomationView::excluded() const
{
    QVariantList list;
    for (const QString& id : m_triggers.excluded())
        list.append(appEntry(id, id));
    return list;
}

QString AutomationView::fullScreenUnavailable() const
{
    return m_triggers.fullScreenUnavailable();
}

QString AutomationView::mediaUnavailable() const
{
    return m_triggers.mediaUnavailable();
}

void AutomationView::togglePicker(bool forExclusion)
{
    if (m_pickerShown && forExclusion == m_pickingExclusion) {
        setPickerShown(false);
        return;
    }
    m_pickingExclusion = forExclusion;
    setPickerShown(false);
    setPickerShown(true);
}

void AutomationView::removeExcluded(const QString& id)
{
    m_triggers.removeExcluded(id);
}

QVariantList AutomationView::coolingChoices() const
{
    QVariantList list{QVariantMap{{"value", kNone}, {"label", PanelTexts::noCooling()}}};
    for (const auto kind : core::CoolingProfile::allCases) {
        list.append(QVariantMap{{"value", QString::fromLatin1(core::CoolingProfile::rawValue(kind))},
            {"label", PanelTexts::profileName(kind)}});
    }
    return list;
}

void AutomationView::setPickerShown(bool shown)
{
    if (shown == m_pickerShown)
        return;
    m_pickerShown = shown;
    m_query.clear();
    m_installed.clear();
    if (shown) {
        for (const auto& app : m_triggers.installedApps())
            m_installed.append(QVariantMap{{"id", app.id}, {"name", app.name}, {"icon", iconUrl(app.icon)}});
    }
    emit pickerChanged();
}

void AutomationView::setQuery(const QString& query)
{
    if (query == m_query)
        return;
    m_query = query;
    emit pickerChanged();
}

QVariantList AutomationView::candidates() const
{
    const QString query = m_query.trimmed();
    QVariantList list;
    for (const QVariant& candidate : m_installed) {
        const QVariantMap app = candidate.toMap();
        const QString id = app.value("id").toString();
        const bool listed = m_pickingExclusion ? m_triggers.excluded().contains(id)
                                               : std::any_of(m_triggers.apps().begin(), m_triggers.apps().end(),
                                                   [&](const app::TriggerApp& a) { return a.bundleID == id; });
        if (listed
            || !(app.value("name").toString().contains(query, Qt::CaseInsensitive)
                || id.contains(query, Qt::CaseInsensitive)))
            continue;
        list.append(app);
        if (list.size() == kMaxCandidates)
            break;
    }
    return list;
}

QString AutomationView::addRefusal() const
{
    return m_triggers.appListFull()
        ? tr("The list holds %1 apps, the most it can: remove one to add another.").arg(app::TriggerManager::maxApps)
        : QString();
}

void AutomationView::add(const QString& id)
{
    const auto installed = m_triggers.installedApp(id);
    if (!installed)
        return;
    if (m_pickingExclusion)
        m_triggers.addExcluded(id);
    else
        m_triggers.addApp({id, installed->name, std::nullopt});
    setPickerShown(false);
}

void AutomationView::remove(const QString& id)
{
    m_triggers.removeApp(id);
}

void AutomationView::setCooling(const QString& id, const QString& value)
{
    m_triggers.setCooling(core::CoolingProfile::fromRawValue(value.toStdString()), id);
}

} // namespace quillon::ui
