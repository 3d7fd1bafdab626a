#pragma once

#include "TriggerApp.h"
#include "app/GridTimer.h"
#include "app/fan/FanController.h"
#include "app/power/PowerInfo.h"
#include "app/power/SleepAssertions.h"
#include "platform/FullScreenWindows.h"
#include "platform/RunningApps.h"

#include <QObject>
#include <QPointer>
#include <memory>

namespace quillon::platform {
class ExternalDisplays;
class MediaPlayback;
} // namespace quillon::platform

namespace quillon::app {

class PowerSource;
class Settings;

// Keeps the computer awake, without a session, while a rule holds: on AC
// power, with an external display, while one of a list of applications
// runs, while another application's window is full screen (unless it is one
// the user excluded), or while a media player plays; an application may
// also ask for a cooling profile while it runs. Every outcome comes from
// evaluate(), run on each announced launch, exit, screen, window and player
// change and every 5 seconds (power changes are not announced); with
// applications listed, it asks which run and decides on the answer, which
// the Linux probes give from a worker thread.
//
// Active means a rule holds and the system shows its assertions (system
// and display, its own, so no other feature's are touched) in force; a rule
// whose assertions the system refuses, or has taken without showing them in
// force, shows in ruleHolds() without active().
// Main thread only.
class TriggerManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool automationEnabled READ automationEnabled WRITE setAutomationEnabled NOTIFY rulesChanged)
    Q_PROPERTY(bool keepAwakeOnAC READ keepAwakeOnAC WRITE setKeepAwakeOnAC NOTIFY rulesChanged)
    Q_PROPERTY(bool keepAwakeOnExternalDisplay READ keepAwakeOnExternalDisplay WRITE setKeepAwakeOnExternalDisplay
            NOTIFY rulesChanged)
    Q_PROPERTY(bool keepAwakeOnFullScreen READ keepAwakeOnFullScreen WRITE setKeepAwakeOnFullScreen NOTIFY rulesChanged)
    Q_PROPERTY(bool keepAwakeOnMedia READ keepAwakeOnMedia WRITE setKeepAwakeOnMedia NOTIFY rulesChanged)
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(QString activeReason READ activeReason NOTIFY activeChanged)

public:
    using Kind = core::CoolingProfile::Kind;

    static constexpr int pollIntervalMs = 5000;
    // On battery at or below this charge automation holds nothing (below
    // the 15 % at which a session or the closed lid stops).
    static constexpr int lowBatteryPercent = 12;
    static constexpr const char* coolingSource = "apps";
    // Every listed application is matched against the processes at each
    // evaluation; far more than anyone lists, and a bound on that work.
    static constexpr int maxApps = 200;

    struct Parts {
        std::shared_ptr<platform::PowerAssertionBackend> assertions;
        const PowerSource* power = nullptr;
        platform::RunningApps* apps = nullptr;             // null: no application runs
        platform::ExternalDisplays* displays = nullptr;    // null: no external display
        platform::FullScreenWindows* fullScreen = nullptr; // null: never full screen
        platform::MediaPlayback* media = nullptr;          // null: nothing ever plays
        Settings* settings = nullptr;
        bool startTimers = true;
    };

    explicit TriggerManager(Parts parts, QObject* parent = nullptr);
    ~TriggerManager() override;

    // Set once by the keep-awake manager; without it no cooling is asked for.
    void setCoolingSink(FanController* fan) { m_coolingSink = fan; }

    // Why the last change of a rule did not reach the settings file (it holds
    // until the app ends, and is lost then); empty when it did.
    QString saveError() const;
    bool automationEnabled() const { return m_enabled; }
    bool keepAwakeOnAC() const { return m_onAC; }
    bool keepAwakeOnExternalDisplay() const { return m_extDisplay; }
    bool keepAwakeOnFullScreen() const { return m_fullScreen; }
    bool keepAwakeOnMedia() const { return m_media; }
    // Each stores its key and evaluates.
    void setAutomationEnabled(bool on);
    void setKeepAwakeOnAC(bool on);
    void setKeepAwakeOnExternalDisplay(bool on);
    void setKeepAwakeOnFullScreen(bool on);
    void setKeepAwakeOnMedia(bool on);

    // Applications whose full-screen windows do not count, by desktop id;
    // stored as "trig.excluded". Adding one listed, or beyond maxApps, and
    // removing one not listed are refused (false).
    const QStringList& excluded() const { return m_excluded; }
    bool addExcluded(const QString& id);
    bool removeExcluded(const QString& id);
    // Why a rule cannot work on this computer; empty when it can.
    QString fullScreenUnavailable() const;
    QString mediaUnavailable() const;

    // One rule as the last evaluation found it: whether it holds, and the
    // reason it holds (as in activeReason()) or why not.
    struct RuleState {
        QString rule; // "onAC", "externalDisplay", "apps", "fullScreen", "media"
        bool on = false;
        bool holds = false;
        QString why;
    };
    QList<RuleState> ruleStates() const;

    const QList<TriggerApp>& apps() const { return m_apps; }
    // Each stores "trig.apps" and evaluates. addApp refuses an app already
    // listed, or any once maxApps are (false); removeApp and setCooling do
    // nothing for an unlisted one. A stored list is read back without
    // repeated ids and cut at maxApps.
    bool addApp(const TriggerApp& app);
    bool appListFull() const { return m_apps.size() >= maxApps; }
    bool removeApp(const QString& bundleID);
    void setCooling(std::optional<Kind> cooling, const QString& bundleID);

    // The installed applications the rules can name, by the name the user
    // reads: the entry's German one for a German user, where it has one.
    QList<platform::RunningApps::App> installedApps() const;
    std::optional<platform::RunningApps::App> installedApp(const QString& id) const;

    void evaluate();
    // Runs evaluate() every pollIntervalMs (power changes are not announced).
    const GridTimer& pollTimer() const { return m_pollTimer; }

    bool active() const { return m_active; }
    // A rule holds and its assertions are taken, but none is shown in force yet
    // (being checked, or asked where nothing can confirm it).
    bool unconfirmed() const { return m_unconfirmed; }
    bool ruleHolds() const
    {
        return m_reasons.onAC || m_reasons.extDisplay || !m_reasons.apps.isEmpty() || !m_reasons.fullScreen.isEmpty()
            || !m_reasons.media.isEmpty();
    }
    // The holding rules, joined by ", ": "on AC power, Kdenlive +1", in
    // the language of the installed translator.
    QString activeReason() const;
    std::optional<Kind> coolingProfileActive() const { return m_cooling; }
    const SleepAssertions& assertions() const { return m_assertions; }
    SleepAssertions& assertions() { return m_assertions; }

signals:
    void rulesChanged();
    void appsChanged();
    void activeChanged();
    // An evaluation decided, from the running applications it asked for.
    void evaluated();

private:
    QString localName(const platform::RunningApps::App& app) const;
    // The rules that hold: the two switches', and the text of the matched
    // apps, the full-screen window's application and the playing players.
    struct Reasons {
        bool onAC = false;
        bool extDisplay = false;
        QString apps;
        QString fullScreen;
        QString media;
        bool operator==(const Reasons&) const = default;
    };
    // What the last evaluation saw of rules that do not hold.
    struct Seen {
        bool batteryLow = false;
        QString excludedFullScreen; // the excluded application that is full screen
    };

    // The first of some names, "+N" for the rest.
    static QString firstPlus(const QStringList& names);
    QString fullScreenReason();
    void updateWatching();
    void updatePolling();
    void storeExcluded();

    void decide(const QSet<QString>& running);
    void loadApps(const QList<TriggerApp>& stored);
    void storeApps();
    void inactive();
    void requestCooling(std::optional<Kind> kind);
    void publish(const Reasons& reasons, std::optional<Kind> cooling);
    void updateActive();
    // One reading of the supply when a rule needs it (none while switched off).
    std::optional<PowerInfo> readPower() const;
    bool batteryLow() const;

    Parts m_parts;
    SleepAssertions m_assertions;
    QPointer<FanController> m_coolingSink;
    bool m_enabled = false;
    bool m_onAC = false;
    bool m_extDisplay = false;
    bool m_fullScreen = false;
    bool m_media = false;
    QStringList m_excluded;
    Seen m_seen;
    // Read by evaluate(), for it and the decision its answer brings: one
    // reading of the supply a round.
    std::optional<PowerInfo> m_power;
    QList<TriggerApp> m_apps;
    bool m_active = false;
    bool m_unconfirmed = false;
    Reasons m_reasons;
    std::optional<Kind> m_cooling;
    GridTimer m_pollTimer{pollIntervalMs};
};

} // namespace quillon::app
