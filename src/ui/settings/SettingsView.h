#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>

namespace quillon::app {
class Settings;
class UninstallFlow;
class UpdateChecker;
} // namespace quillon::app

namespace quillon::ui {

class Hotkeys;
class LoginItem;

// The settings window's view: the app-wide switches, each written to its
// key the moment it changes (the rest of the app follows the key), the
// language with its restart question, the update check, and the entries
// for the intro, feedback and uninstalling.
//
// Switches read their key on every call, so a window opened again shows
// what is stored now. Main thread only.
class SettingsView : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
    Q_PROPERTY(bool showTemp READ showTemp WRITE setShowTemp NOTIFY changed)
    Q_PROPERTY(bool hotkeysOn READ hotkeysOn WRITE setHotkeysOn NOTIFY changed)
    Q_PROPERTY(QString hotkeysNote READ hotkeysNote NOTIFY changed)
    Q_PROPERTY(bool heatAlerts READ heatAlerts WRITE setHeatAlerts NOTIFY changed)
    Q_PROPERTY(bool lowBattStop READ lowBattStop WRITE setLowBattStop NOTIFY changed)
    Q_PROPERTY(QString appLang READ appLang WRITE setAppLang NOTIFY changed)
    Q_PROPERTY(bool languageAlert READ languageAlert NOTIFY languageAlertChanged)
    Q_PROPERTY(bool updatesAvailable READ updatesAvailable CONSTANT)
    Q_PROPERTY(bool checking READ checking NOTIFY updatesChanged)
    Q_PROPERTY(bool checkedOnce READ checkedOnce NOTIFY updatesChanged)
    Q_PROPERTY(QString latestVersion READ latestVersion NOTIFY updatesChanged)
    Q_PROPERTY(QUrl downloadTarget READ downloadTarget NOTIFY updatesChanged)
    Q_PROPERTY(QUrl feedbackUrl READ feedbackUrl CONSTANT)
    Q_PROPERTY(QObject* uninstall READ uninstall NOTIFY uninstallChanged)

public:
    // The address feedback and bug reports go to.
    static constexpr const char* kSupportMail = "dev@quillon.org";

    struct Hooks {
        // "Show intro again".
        std::function<void()> showIntro;
        // "Restart now" after a change of language.
        std::function<void()> restart;
        // A new uninstall flow, each time the entry is chosen.
        std::function<std::unique_ptr<app::UninstallFlow>()> makeUninstall;
    };

    // version: the running version, named in the feedback mail's subject.
    SettingsView(app::Settings& settings, LoginItem& loginItem, app::UpdateChecker& updates, QString version,
        Hooks hooks, QObject* parent = nullptr);
    ~SettingsView() override;

    bool launchAtLogin() const;
    // Asks the session, and counts as the answer to the panel's login
    // question; a failure leaves the switch showing what is in force.
    void setLaunchAtLogin(bool on);
    bool showTemp() const;
    void setShowTemp(bool on);
    bool hotkeysOn() const;
    void setHotkeysOn(bool on);
    // The shortcuts' row follows what the desktop grants (set once, at launch).
    void watchHotkeys(const Hotkeys& hotkeys);
    // Under the switch while it is on: the keys when the desktop holds them,
    // else why not. Empty while off.
    QString hotkeysNote() const;
    bool heatAlerts() const;
    void setHeatAlerts(bool on);
    bool lowBattStop() const;
    void setLowBattStop(bool on);
    // "system", "de" or "en". Choosing another one stores it and raises the
    // language alert; choosing the current one does nothing.
    QString appLang() const;
    void setAppLang(const QString& language);

    bool languageAlert() const { return m_languageAlert; }
    // The alert's buttons.
    Q_INVOKABLE void restartNow();
    Q_INVOKABLE void restartLater();

    // False in builds whose updates come from the distribution: no row then.
    bool updatesAvailable() const;
    bool checking() const;
    // A check started from this window has finished.
    bool checkedOnce() const { return m_checkedOnce; }
    // The newer version on offer, or empty.
    QString latestVersion() const;
    QUrl downloadTarget() const;
    Q_INVOKABLE void checkForUpdates();

    // mailto: with a subject naming the version.
    QUrl feedbackUrl() const;
    Q_INVOKABLE void showIntro();

    // The uninstall dialogs while they are open, else null.
    QObject* uninstall() const;
    Q_INVOKABLE void startUninstall();

signals:
    void changed();
    void languageAlertChanged();
    void updatesChanged();
    void uninstallChanged();
    // The last uninstall dialog asked the app to quit.
    void quitRequested();

private:
    void setFlag(const char* key, bool on);

    app::Settings& m_settings;
    LoginItem& m_loginItem;
    app::UpdateChecker& m_updates;
    const Hotkeys* m_hotkeys = nullptr;
    QString m_version;
    Hooks m_hooks;
    bool m_languageAlert = false;
    bool m_checkPending = false;
    bool m_checkedOnce = false;
    std::unique_ptr<app::UninstallFlow> m_uninstall;
};

} // namespace quillon::ui
