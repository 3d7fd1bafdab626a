#pragma once

#include "SleepAssertions.h"
#include "app/GridTimer.h"
#include "app/LongTimer.h"
#include "app/fan/FanController.h"

#include <QDateTime>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <optional>

namespace quillon::platform {
class DriveToucher;
class ExternalDisplays;
class FullScreenWindows;
class MediaPlayback;
class LidSensor;
class LidSwitchOwner;
class SoundPlayer;
class PowerProfiles;
class PowerSupply;
class ProcessWatcher;
class RunningApps;
class VolumeSource;
} // namespace quillon::platform

namespace quillon::app {

class DriveManager;
class KeepAwakePause;
class LidManager;
class PowerSource;
class RenderModeManager;
class UpdateChecker;
class ProcessKeepAwake;
class TriggerManager;

// The app's central model: the menu's keep-awake session (which kinds of
// sleep are held off, and until when), its countdown and end, the battery
// watchdog that stops keep-awake on a low battery, and the owner of every
// other manager, which it creates and wires at start-up.
//
// Main thread only. The timers call sessionExpired(), tick() and
// batterySafetyCheck(); tests call them directly with a fake clock.
class SleepManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QStringList activeKinds READ activeKindNames NOTIFY sessionChanged)
    Q_PROPERTY(QDateTime expiresAt READ expiresAt NOTIFY sessionChanged)
    Q_PROPERTY(QDateTime now READ now NOTIFY nowChanged)
    Q_PROPERTY(QString remainingText READ remainingTextForView NOTIFY nowChanged)
    Q_PROPERTY(QString expiryDescription READ expiryDescriptionForView NOTIFY sessionChanged)
    Q_PROPERTY(bool anythingActive READ anythingActive NOTIFY anythingActiveChanged)
    Q_PROPERTY(quillon::app::FanController* fan READ fan CONSTANT)
    Q_PROPERTY(quillon::app::LidManager* lid READ lid CONSTANT)
    Q_PROPERTY(quillon::app::DriveManager* drives READ drives CONSTANT)
    Q_PROPERTY(quillon::app::RenderModeManager* renderMode READ renderMode CONSTANT)
    Q_PROPERTY(quillon::app::UpdateChecker* updates READ updates CONSTANT)
    Q_PROPERTY(quillon::app::TriggerManager* triggers READ triggers CONSTANT)

public:
    using Kind = SleepAssertions::Kind;

    static constexpr double defaultToggleSeconds = 86400.0;
    static constexpr int batteryCheckIntervalMs = 30000;
    static constexpr int lowBatteryStopPercent = 15;
    static constexpr int lowBatteryRearmPercent = 20;

    // The platform behind the models, chosen by whoever starts the app.
    struct Services {
        HelperLink* helperLink = nullptr;
        std::shared_ptr<platform::PowerAssertionBackend> assertions;
        std::shared_ptr<platform::PowerSupply> powerSupply;
        std::shared_ptr<platform::VolumeSource> volumes;
        std::shared_ptr<platform::DriveToucher> driveToucher;
        platform::LidSensor* lidSensor = nullptr;
        platform::LidSwitchOwner* lidOwner = nullptr; // null: the login manager acts on the lid
        platform::ThermalPressure* thermal = nullptr;
        platform::PowerProfiles* profiles = nullptr;        // null: no profile route
        platform::SoundPlayer* sound = nullptr;             // may be null: Render Mode finishes silently
        platform::RunningApps* runningApps = nullptr;       // null: no application is seen running
        platform::ExternalDisplays* displays = nullptr;     // null: no external display is seen
        platform::FullScreenWindows* fullScreen = nullptr;  // null: no window is seen full screen
        platform::MediaPlayback* media = nullptr;           // null: no player is heard
        platform::ProcessWatcher* processWatcher = nullptr; // null: no process can be watched
        Notifier* notifier = nullptr;
        Settings* settings = nullptr;
        const platform::Clock* clock = nullptr;
        FanController::Installer installer;
        QString bundledHelperPath;
        QString installedHelperPath;
        QUrl updateFeed;    // empty: no update check
        QString appVersion; // the running version, for the update check
        bool startTimers = true;
    };

    // The menu's fixed session lengths, in seconds.
    static constexpr std::array<int, 5> sleepDurations{3600, 14400, 28800, 43200, 86400};

    explicit SleepManager(Services services, QObject* parent = nullptr);
    ~SleepManager() override;

    // Holds exactly these kinds, until the given time (none: open-ended).
    void apply(const QSet<Kind>& kinds, std::optional<QDateTime> until);
    // Switches one kind; a session started this way ends after 24 hours.
    void toggle(Kind kind);
    // The menu's everything-off: session, closed lid, fans, automation and
    // the processes kept awake for; a pause ends. Drive keep-alive stays.
    Q_INVOKABLE void resetAll();
    bool anythingActive() const;

    // The countdown, "m:ss" or "h:mm:ss"; none without an end time.
    std::optional<QString> remainingText() const;
    // The end time as the menu shows it ("Today, 3:45 PM" / "Heute, 15:45").
    std::optional<QString> expiryDescription() const;
    // The end of a pause: its time when it is today ("2:30 PM" / "14:30"),
    // else as expiryDescription(); none without a pause or an end.
    std::optional<QString> pauseEndDescription() const;
    // Any end time so described, relative to now (the panel's custom end picker).
    static QString describeEnd(const QDateTime& at, const QDateTime& now, bool german);

    // The kinds asked for (each may still be confirming, or have failed).
    const QSet<Kind>& activeKinds() const { return m_activeKinds; }
    // The kinds asked for that the system shows in force, in the order of allKinds.
    QList<Kind> kindsInForce() const { return kindsIn(SleepAssertions::KindState::Phase::inForce); }
    // The kinds asked for that the system has taken but not (yet) shown in
    // force: being checked, or asked where nothing can confirm it (the portal).
    QList<Kind> kindsUnconfirmed() const { return kindsIn(SleepAssertions::KindState::Phase::confirming); }
    // Why the first kind asked for that nothing holds is not held; empty when none failed.
    QString firstProblem() const;
    // Who else holds the system awake now, ours left out: asks the system
    // without waiting, and done hears it once.
    void askOtherInhibitors(platform::PowerAssertionBackend::OtherInhibitorsAnswer done) const
    {
        m_services.assertions->askOtherInhibitors(std::move(done));
    }
    QDateTime expiresAt() const { return m_expiresAt; }
    QDateTime now() const { return m_now; }
    const SleepAssertions& assertions() const { return m_assertions; }
    FanController* fan() const { return m_fan.get(); }
    LidManager* lid() const { return m_lid.get(); }
    DriveManager* drives() const { return m_drives.get(); }
    RenderModeManager* renderMode() const { return m_renderMode.get(); }
    UpdateChecker* updates() const { return m_updates.get(); }
    TriggerManager* triggers() const { return m_triggers.get(); }
    ProcessKeepAwake* processes() const { return m_processes.get(); }
    // Pauses the session, automation and the processes kept awake for.
    KeepAwakePause* pause() const { return m_pause.get(); }
    const PowerSource& power() const { return *m_power; }

    // Q_INVOKABLE forms for the panel and the scripting interface.
    Q_INVOKABLE void applyNames(const QStringList& kinds, const QDateTime& until);
    Q_INVOKABLE void toggleName(const QString& kind);

    // Timer handlers.
    void sessionExpired();
    void tick();
    void batterySafetyCheck();

signals:
    void sessionChanged();
    void nowChanged();
    void anythingActiveChanged();

private:
    void scheduleExpiry(const QDateTime& at);
    void cancelExpiry();
    void endSession();
    void setActiveKinds(const QSet<Kind>& kinds);
    QList<Kind> kindsIn(SleepAssertions::KindState::Phase phase) const;
    QStringList activeKindNames() const;
    QString remainingTextForView() const { return remainingText().value_or(QString()); }
    QString expiryDescriptionForView() const { return expiryDescription().value_or(QString()); }
    void notify(const QString& title, const QString& body);

    Services m_services;
    SleepAssertions m_assertions;
    std::unique_ptr<PowerSource> m_power;
    std::unique_ptr<FanController> m_fan;
    std::unique_ptr<UpdateChecker> m_updates;
    std::unique_ptr<TriggerManager> m_triggers;
    std::unique_ptr<LidManager> m_lid;
    std::unique_ptr<DriveManager> m_drives;
    std::unique_ptr<RenderModeManager> m_renderMode;
    std::unique_ptr<ProcessKeepAwake> m_processes;
    std::unique_ptr<KeepAwakePause> m_pause;
    QSet<Kind> m_activeKinds;
    QDateTime m_expiresAt;
    QDateTime m_now;
    LongTimer m_expiryTimer; // a session may run for weeks
    QTimer m_tickTimer;
    GridTimer m_batteryWatchdog{batteryCheckIntervalMs};
    bool m_lowBatteryStopped = false;
};

} // namespace quillon::app
