#include "SettingsView.h"

#include "app/Settings.h"
#include "app/install/UninstallFlow.h"
#include "app/install/UpdateChecker.h"
#include "ui/Hotkeys.h"
#include "ui/LoginItem.h"

#include <QUrlQuery>

namespace quillon::ui {

using Key = app::Settings::Key;

SettingsView::SettingsView(app::Settings& settings, LoginItem& loginItem, app::UpdateChecker& updates, QString version,
    Hooks hooks, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_loginItem(loginItem)
    , m_updates(updates)
    , m_version(std::move(version))
    , m_hooks(std::move(hooks))
{
    connect(&m_settings, &app::Settings::changed, this, &SettingsView::changed);
    connect(&m_updates, &app::UpdateChecker::changed, this, &SettingsView::updatesChanged);
    connect(&m_updates, &app::UpdateChecker::finished, this, [this] {
        // Only a check asked for here may say "latest"; the launch check is silent.
        if (m_checkPending) {
            m_checkPending = false;
            m_checkedOnce = true;
            emit updatesChanged();
        }
    });
}

SettingsView::~SettingsView() = default;

bool SettingsView::launchAtLogin() const
{
    return m_loginItem.isEnabled();
}

void SettingsView::setLaunchAtLogin(bool on)
{
    m_loginItem.setEnabled(on);
    // Answered here, the panel need not ask any more.
    m_settings.setFlag(Key::loginChoiceMade, true);
    emit changed();
}

bool SettingsView::showTemp() const
{
    return m_settings.flag(Key::showTempInMenuBar);
}

void SettingsView::setShowTemp(bool on)
{
    setFlag(Key::showTempInMenuBar, on);
}

bool SettingsView::hotkeysOn() const
{
    return m_settings.flag(Key::hotkeysEnabled);
}

void SettingsView::setHotkeysOn(bool on)
{
    setFlag(Key::hotkeysEnabled, on);
}

void SettingsView::watchHotkeys(const Hotkeys& hotkeys)
{
    m_hotkeys = &hotkeys;
    connect(&hotkeys, &Hotkeys::stateChanged, this, &SettingsView::changed);
    emit changed();
}

QString SettingsView::hotkeysNote() const
{
    if (!m_hotkeys || !m_hotkeys->installed())
        return {};
    const platform::GlobalShortcuts::State state = m_hotkeys->state();
    if (state.held)
        return tr("Super+Alt+K: keep-awake · Super+Alt+L: fan control");
    if (state.pending)
        return tr("Asking the desktop for the shortcuts…");
    return tr("Not in force: %1").arg(state.problem);
}

bool SettingsView::heatAlerts() const
{
    return m_settings.flag(Key::heatAlerts);
}

void SettingsView::setHeatAlerts(bool on)
{
    setFlag(Key::heatAlerts, on);
}

bool SettingsView::lowBattStop() const
{
    return m_settings.flag(Key::lowBatteryAutoStop);
}

void SettingsView::setLowBattStop(bool on)
{
    setFlag(Key::lowBatteryAutoStop, on);
}

void SettingsView::setFlag(const char* key, bool on)
{
    if (m_settings.flag(key) != on)
        m_settings.setFlag(key, on);
}

QString SettingsView::appLang() const
{
    return m_settings.appLanguage();
}

void SettingsView::setAppLang(const QString& language)
{
    const QString before = m_settings.appLanguage();
    if (language == before)
        return;
    m_settings.setAppLanguage(language);
    // Settings keeps only the known choices: an unknown one changes nothing.
    if (m_settings.appLanguage() == before)
        return;
    m_languageAlert = true;
    emit languageAlertChanged();
}

void SettingsView::restartNow()
{
    restartLater();
    if (m_hooks.restart)
        m_hooks.restart();
}

void SettingsView::restartLater()
{
    m_languageAlert = false;
    emit languageAlertChanged();
}

bool SettingsView::updatesAvailable() const
{
    return m_updates.enabled();
}

bool SettingsView::checking() const
{
    return m_updates.checking();
}

QString SettingsView::latestVersion() const
{
    return m_updates.latestVersion();
}

QUrl SettingsView::downloadTarget() const
{
    return m_updates.downloadTarget();
}

void SettingsView::checkForUpdates()
{
    if (!m_updates.enabled() || m_updates.checking())
        return;
    m_checkPending = true;
    m_checkedOnce = false;
    m_updates.check();
    emit updatesChanged();
}

QUrl SettingsView::feedbackUrl() const
{
    QUrl url(QStringLiteral("mailto:") + QLatin1String(kSupportMail));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Quillon %1 feedback").arg(m_version));
    url.setQuery(query);
    return url;
}

void SettingsView::showIntro()
{
    if (m_hooks.showIntro)
        m_hooks.showIntro();
}

QObject* SettingsView::uninstall() const
{
    return m_uninstall.get();
}

void SettingsView::startUninstall()
{
    if (m_uninstall || !m_hooks.makeUninstall)
        return;
    m_uninstall = m_hooks.makeUninstall();
    if (!m_uninstall)
        return;
    connect(m_uninstall.get(), &app::UninstallFlow::quitRequested, this, &SettingsView::quitRequested);
    connect(m_uninstall.get(), &app::UninstallFlow::changed, this, [this] {
        if (m_uninstall && m_uninstall->state() == app::UninstallFlow::State::closed) {
            // Dropped after the signal has been delivered everywhere.
            m_uninstall.release()->deleteLater();
            emit uninstallChanged();
        }
    });
    emit uninstallChanged();
}

} // namespace quillon::ui
