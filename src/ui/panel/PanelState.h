#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

namespace quillon::app {
class PowerSource;
class Settings;
class SleepManager;
} // namespace quillon::app

namespace quillon::ui {

class LoginItem;

// The menu panel's own state and general texts: which of the six expandable
// sections are open (all start collapsed), the status lines, the battery
// hint (read when the panel opens and every kPowerRefreshMs while it is
// open: the power source is read on demand, never watched), and the
// launch-at-login question, asked until the user has answered it once.
class PanelState : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool awakeExpanded MEMBER m_awakeExpanded NOTIFY sectionsChanged)
    Q_PROPERTY(bool lidExpanded MEMBER m_lidExpanded NOTIFY sectionsChanged)
    Q_PROPERTY(bool automationExpanded MEMBER m_automationExpanded NOTIFY sectionsChanged)
    Q_PROPERTY(bool drivesExpanded MEMBER m_drivesExpanded NOTIFY sectionsChanged)
    Q_PROPERTY(bool fansExpanded MEMBER m_fansExpanded NOTIFY sectionsChanged)
    Q_PROPERTY(bool renderExpanded MEMBER m_renderExpanded NOTIFY sectionsChanged)
    Q_PROPERTY(QStringList statusLines READ statusLines NOTIFY statusChanged)
    Q_PROPERTY(QString batteryHint READ batteryHint NOTIFY batteryHintChanged)
    Q_PROPERTY(bool loginChoiceMade READ loginChoiceMade NOTIFY loginChanged)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin NOTIFY loginChanged)

public:
    static constexpr int kPowerRefreshMs = 5000;

    PanelState(app::SleepManager& manager, app::Settings& settings, LoginItem& loginItem, QObject* parent = nullptr);

    QStringList statusLines() const;
    QString batteryHint() const { return m_batteryHint; }
    bool loginChoiceMade() const;
    bool launchAtLogin() const;

    // Answers the launch-at-login question; the question is not asked again.
    Q_INVOKABLE void answerLoginPrompt(bool launch);
    // The panel was shown or hidden.
    void setShown(bool shown);
    // Reads the power source again.
    void refreshPower();

    // Asks whoever shows the panel to close it, or to quit the app.
    Q_INVOKABLE void requestClose() { emit closeRequested(); }
    Q_INVOKABLE void requestQuit() { emit quitRequested(); }
    Q_INVOKABLE void requestSettings() { emit settingsRequested(); }

signals:
    void sectionsChanged();
    void statusChanged();
    void batteryHintChanged();
    void loginChanged();
    void closeRequested();
    void quitRequested();
    void settingsRequested();

private:
    app::SleepManager& m_manager;
    app::Settings& m_settings;
    LoginItem& m_loginItem;
    bool m_awakeExpanded = false;
    bool m_lidExpanded = false;
    bool m_automationExpanded = false;
    bool m_drivesExpanded = false;
    bool m_fansExpanded = false;
    bool m_renderExpanded = false;
    QString m_batteryHint;
    QTimer m_powerRefresh;
};

} // namespace quillon::ui
