#pragma once

#include "AutoCooling.h"
#include "CoolingMode.h"
#include "FanInfo.h"
#include "FanList.h"
#include "FanTemperatures.h"
#include "FloorSender.h"
#include "HeatAlerts.h"
#include "HelperInstall.h"
#include "HelperLink.h"
#include "HelperPoller.h"
#include "LidLock.h"
#include "SafetyHold.h"
#include "SelfHeal.h"
#include "app/install/InstallResult.h"
#include "platform/ThermalPressure.h"

#include "core/CoolingProfile.h"

#include <QDateTime>
#include <QObject>
#include <QVariant>
#include <functional>
#include <optional>
#include <utility>

namespace quillon::platform {
class Clock;
class PowerProfiles;
} // namespace quillon::platform

namespace quillon::app {

class Notifier;
class ProfileCooling;
class Settings;

// The app's one model of the fans, and what the panel binds to. Polls the helper once a second while it
// holds anything (a floor, a boost, the lid lock) or live figures are on
// screen (setLiveView), every five seconds otherwise, and
// publishes what it reports (fans, temperatures and their medians and trend,
// boost and override flags); decides the floor the helper gets from the
// user's choice (off, a manual floor as a timed boost, or a cooling profile)
// and from other managers' cooling requests, the strongest of which wins;
// warns about heat and throttling; and, when the helper holds the fans or the
// lid lock for five polls in a row without the app wanting it, makes it let go;
// when the helper drops a floor the app still holds, sends it again, except
// after a release for safety (heat, lost sensors): then the floor waits until
// the helper has seen the cause gone for safetyClearSeconds or the user asks
// again (safetyHold says why meanwhile). One user action sends at most one
// command to the helper, however many steps it takes (UserAction).
//
// The parts live in their own classes: the helper link and its polling
// (HelperPoller), the fans and temperatures (FanList, FanTemperatures), the
// floor sent and its batching, boost end and spin-up (FloorSender),
// automatic cooling and other managers' requests (AutoCooling), the safety
// hold (SafetyHold), the heat warnings (HeatAlerts), the helper's
// installation (HelperInstall), the lid lock (LidLock) and the self-heal
// (SelfHeal). This class keeps the user's choice, ties the parts together
// and publishes the result.
//
// Main thread only. The timers call pollTick() and boostExpired(); tests call
// them directly with a fake clock. Temperatures in °C, floors in percent.
class FanController : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList fans READ fansForView NOTIFY fansChanged)
    Q_PROPERTY(QVariant cpuTemp READ cpuTempForView NOTIFY temperaturesChanged)
    Q_PROPERTY(QVariant cpuTempSmoothed READ cpuTempSmoothedForView NOTIFY temperaturesChanged)
    Q_PROPERTY(QVariant gpuTemp READ gpuTempForView NOTIFY temperaturesChanged)
    Q_PROPERTY(QVariant gpuTempSmoothed READ gpuTempSmoothedForView NOTIFY temperaturesChanged)
    Q_PROPERTY(QList<double> tempTrend READ tempTrend NOTIFY temperaturesChanged)
    Q_PROPERTY(platform::ThermalPressure::Level thermalState READ thermalState NOTIFY thermalStateChanged)
    Q_PROPERTY(bool isBoosted READ isBoosted NOTIFY boostChanged)
    Q_PROPERTY(double targetPercent READ targetPercent NOTIFY boostChanged)
    Q_PROPERTY(double boostDuration READ boostDuration WRITE setBoostDuration NOTIFY boostChanged)
    Q_PROPERTY(QDateTime boostExpiresAt READ boostExpiresAt NOTIFY boostChanged)
    Q_PROPERTY(QString boostRemainingText READ boostRemainingText NOTIFY nowChanged)
    Q_PROPERTY(bool thermalOverride READ thermalOverride NOTIFY helperStateChanged)
    Q_PROPERTY(double effectivePercent READ effectivePercent NOTIFY helperStateChanged)
    Q_PROPERTY(bool helperInstalled READ helperInstalled NOTIFY helperStateChanged)
    Q_PROPERTY(bool helperNeedsUpdate READ helperNeedsUpdate NOTIFY helperStateChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY helperStateChanged)
    Q_PROPERTY(bool helperInstalling READ helperInstalling NOTIFY helperStateChanged)
    Q_PROPERTY(bool releasePending READ releasePending NOTIFY helperStateChanged)
    Q_PROPERTY(QString safetyHold READ safetyHold NOTIFY helperStateChanged)
    Q_PROPERTY(QString fanControlUnavailable READ fanControlUnavailable NOTIFY helperStateChanged)
    Q_PROPERTY(bool profileRoute READ profileRoute NOTIFY helperStateChanged)
    Q_PROPERTY(QString profileCooling READ profileCooling NOTIFY coolingChanged)
    Q_PROPERTY(QString coolingMode READ coolingModeRaw WRITE setCoolingModeRaw NOTIFY coolingChanged)
    Q_PROPERTY(QString coolingProfile READ coolingProfileRaw WRITE setCoolingProfileRaw NOTIFY coolingChanged)
    Q_PROPERTY(bool fansEnabled READ fansEnabled WRITE setFansEnabled NOTIFY coolingChanged)
    Q_PROPERTY(double manualPercent READ manualPercent NOTIFY coolingChanged)
    Q_PROPERTY(bool autoActive READ autoActive NOTIFY coolingChanged)
    Q_PROPERTY(bool autoEngaged READ autoEngaged NOTIFY coolingChanged)
    Q_PROPERTY(double autoFloor READ autoFloor NOTIFY coolingChanged)
    Q_PROPERTY(QString triggerProfile READ triggerProfileRaw NOTIFY coolingChanged)
    Q_PROPERTY(bool spinningUp READ spinningUp NOTIFY spinUpChanged)
    Q_PROPERTY(QDateTime spinUpUntil READ spinUpUntil NOTIFY spinUpChanged)
    Q_PROPERTY(QVariant spinUpRemaining READ spinUpRemainingForView NOTIFY nowChanged)
    Q_PROPERTY(QDateTime now READ now NOTIFY nowChanged)

public:
    using Kind = core::CoolingProfile::Kind;
    using Installer = HelperInstall::Installer;

    static constexpr double maxBoostSeconds = FloorSender::kMaxBoostSeconds;
    // How long the helper must have seen the cause of a safety release gone
    // before the app asks for its floor again by itself.
    static constexpr double safetyClearSeconds = SafetyHold::kClearSeconds;

    // Marks one user action (a click, a ctl command): while the outermost one
    // lives, floor and stop requests only record the last command, which is
    // sent when it ends, so that no intermediate floor reaches the fans. It
    // also ends a safety hold: the user asked again.
    class UserAction {
    public:
        explicit UserAction(FanController& controller);
        ~UserAction();
        UserAction(const UserAction&) = delete;
        UserAction& operator=(const UserAction&) = delete;

    private:
        FanController& m_controller;
    };

    // What the controller works with. All pointers must outlive it, except
    // notifier and thermal, which may be null (no notifications, always nominal).
    struct Parts {
        HelperLink* link = nullptr;
        Settings* settings = nullptr;
        const platform::Clock* clock = nullptr;
        Notifier* notifier = nullptr;
        platform::ThermalPressure* thermal = nullptr;
        // The firmware's power profile, the cooling left where no fan can be
        // driven; null: none.
        platform::PowerProfiles* profiles = nullptr;
        // Runs the installer; empty when this build has none.
        Installer installer;
        // The helper shipped with the app and the installed copy; when both
        // read, helperNeedsUpdate is whether their bytes differ.
        QString bundledHelperPath;
        QString installedHelperPath;
        // Starts the poll timer (off in tests, which call pollTick()).
        bool startTimers = true;
    };

    explicit FanController(Parts parts, QObject* parent = nullptr);
    ~FanController() override;

    // --- helper link, polling, temperatures ---
    void connectIfNeeded() { m_parts.link->connectIfNeeded(); }
    // Asks the helper for its status once and applies it.
    void refresh() { m_poller.refresh(); }
    // Runs the installer unless it is already running; reconnects after success.
    Q_INVOKABLE void installHelper() { installHelper({}); }
    // The same, for a caller that waits for the outcome (`quillon ctl helper
    // install`): done hears it once, on the main thread; a run already under
    // way is refused with `failed`.
    void installHelper(std::function<void(const InstallResult&)> done) { m_install.run(std::move(done)); }
    // Something on screen shows live figures (source: the caller's name for
    // it: the panel, the temperature in the tray, Render Mode's overlay):
    // while any does, the poll runs every second; a newly shown one gets a
    // status at once.
    void setLiveView(const QString& source, bool shown);
    // The poll's interval now, in ms.
    int pollIntervalMs() const { return m_poller.intervalMs(); }
    // Used by the lid manager: holds (on) or releases the helper's lid lock.
    // done, when given, hears the helper's answer (false with its reason, or
    // when the helper cannot be reached).
    void setLidStayAwake(bool on, HelperLink::Reply done = {}) { m_lid.set(on, std::move(done)); }
    // Clears whatever an earlier run left in the helper; once, at launch.
    void reconcileToOffOnLaunch();
    // The 1-second tick: advances `now` and asks for the status.
    void pollTick();
    // Applies one status payload of the helper.
    void applyStatus(const QVariantMap& status);
    void updateNow();

    // --- modes, boost, automatic cooling ---
    Q_INVOKABLE void setFansEnabled(bool on);
    Q_INVOKABLE void setManualFloor(double percent);
    void setAuto(bool on);
    void setCoolingMode(CoolingMode mode);
    void setCoolingProfile(Kind kind);
    bool applyBoost(std::optional<double> durationS, bool automatic);
    // Drops the floor and its boost; whether a stop could be sent.
    bool resetBoost() { return m_floor.reset(); }
    // Other managers' cooling: "lid", "render", "apps"; no kind withdraws the source's request.
    void requestCooling(std::optional<Kind> kind, const QString& source);
    void evaluateAutoCooling(bool force);
    // The boost timer's end.
    void boostExpired();

    // --- readings ---
    const QList<FanInfo>& fans() const { return m_fans.fans(); }
    std::optional<double> cpuTemp() const { return m_temperatures.cpu(); }
    std::optional<double> cpuTempSmoothed() const { return m_temperatures.cpuSmoothed(); }
    std::optional<double> gpuTemp() const { return m_temperatures.gpu(); }
    std::optional<double> gpuTempSmoothed() const { return m_temperatures.gpuSmoothed(); }
    const QList<double>& tempHistory() const { return m_temperatures.cpuHistory(); }
    const QList<double>& gpuHistory() const { return m_temperatures.gpuHistory(); }
    const QList<double>& tempTrend() const { return m_temperatures.trend(); }
    platform::ThermalPressure::Level thermalState() const { return m_heat.level(); }
    bool isBoosted() const { return m_floor.isBoosted(); }
    double targetPercent() const { return m_floor.targetPercent(); }
    double boostDuration() const { return m_boostDuration; }
    void setBoostDuration(double seconds);
    QDateTime boostExpiresAt() const { return m_floor.expiresAt(); }
    // "m:ss" until the boost ends; empty without a boost.
    QString boostRemainingText() const { return m_floor.remainingText(m_now); }
    bool thermalOverride() const { return m_thermalOverride; }
    double effectivePercent() const { return m_effectivePercent; }
    bool helperInstalled() const { return m_install.installed(); }
    bool helperNeedsUpdate() const { return m_install.needsUpdate(); }
    // The installer is running (waiting for the password, or at work).
    bool helperInstalling() const { return m_install.installing(); }
    QString statusMessage() const { return m_statusMessage; }
    // The helper could not verify handing the fans back and keeps trying.
    bool releasePending() const { return m_safety.releasePending(); }
    // Why the app holds back its floor after a safety release
    // ("critical-heat", "no-readings", "no-sensors"); empty when it does not.
    QString safetyHold() const { return m_safety.reason(); }
    // The helper's reason why no fan can be controlled on this computer (no
    // SMC, no fans, a kernel driver that does not allow fan writes); empty
    // when they can, or before the helper said.
    QString fanControlUnavailable() const { return m_fanControlUnavailable; }
    // No fan can be written here, but cooling can go through the firmware's
    // power profile: the switch and the profile choice hold a profile there.
    bool profileRoute() const { return m_profileCooling && !m_fanControlUnavailable.isEmpty(); }
    // Where no fan can be controlled, the cooling that stands (a trigger's
    // profile, else the user's automatic one) is held as the firmware's
    // power profile; this says so ("" when none is held).
    QString profileCooling() const;
    CoolingMode coolingMode() const { return m_coolingMode; }
    Kind coolingProfile() const { return m_coolingProfile; }
    bool fansEnabled() const { return m_fansEnabled; }
    double manualPercent() const { return m_manualPercent; }
    bool autoActive() const { return m_auto.active(); }
    bool autoEngaged() const { return m_auto.engaged(); }
    double autoFloor() const { return m_auto.floor(); }
    std::optional<Kind> triggerProfile() const { return m_auto.trigger(); }
    bool spinningUp() const { return m_floor.spinUp().spinningUp(); }
    QDateTime spinUpUntil() const { return m_floor.spinUp().until(); }
    // Whole seconds left of the spin-up indicator, never below 0.
    std::optional<int> spinUpRemaining() const { return m_floor.spinUp().remaining(m_now); }
    QDateTime now() const { return m_now; }

signals:
    void fansChanged();
    void temperaturesChanged();
    void thermalStateChanged();
    void boostChanged();
    void helperStateChanged();
    void coolingChanged();
    void spinUpChanged();
    void nowChanged();

private:
    QVariantList fansForView() const;
    QVariant cpuTempForView() const;
    QVariant cpuTempSmoothedForView() const;
    QVariant gpuTempForView() const;
    QVariant gpuTempSmoothedForView() const;
    QVariant spinUpRemainingForView() const;
    QString coolingModeRaw() const { return rawValue(m_coolingMode); }
    void setCoolingModeRaw(const QString& raw);
    QString coolingProfileRaw() const;
    void setCoolingProfileRaw(const QString& raw);
    QString triggerProfileRaw() const;

    AutoCooling::Choice choice() const;
    // The helper holds, or is about to hold, something its watchdog would
    // hand back: the poll must feed it every second.
    bool holdsAnything() const;
    void reconcileDaemonState(bool daemonForcingFans, bool daemonLidLock);
    void coolingModeChanged();
    void setStatusMessage(const QString& message);
    void notify(const QString& title, const QString& body);

    Parts m_parts;
    HelperPoller m_poller;
    FloorSender m_floor;
    FanTemperatures m_temperatures;
    AutoCooling m_auto;
    SafetyHold m_safety;
    HeatAlerts m_heat;
    HelperInstall m_install;
    LidLock m_lid;
    SelfHeal m_selfHeal;

    FanList m_fans;
    bool m_thermalOverride = false;
    double m_effectivePercent = 0;
    CoolingMode m_coolingMode = CoolingMode::automatic;
    bool m_fansEnabled = false;
    double m_manualPercent = 100;
    Kind m_coolingProfile = Kind::balanced;
    QString m_statusMessage;
    double m_boostDuration = 600;
    QDateTime m_now;
    // The last status said the helper forces the fans or holds the lid lock.
    bool m_helperHolds = false;
    QString m_fanControlUnavailable;
    ProfileCooling* m_profileCooling = nullptr;
};

} // namespace quillon::app
