#pragma once

#include "TriggerApp.h"
#include "app/fan/FanController.h"
#include "app/power/SleepAssertions.h"
#include "platform/RunningApps.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>

namespace quillon::platform {
class ExternalDisplays;
}

namespace quillon::app {

class PowerSource;
class Settings;

// Keeps the computer awake, without a session, while a rule holds: on AC
// power, with an external display, or while one of a list of applications
// runs; an application may also ask for a cooling profile while it runs.
// Every outcome comes from evaluate(), run on each announced launch, exit
// and screen change and every 5 seconds (power changes are not announced);
// with applications listed, it asks which run and decides on the answer,
// which the Linux probes give from a worker thread.
//
// Active means a rule holds and the system holds its assertions (system
// and display, its own, so no other feature's are touched); a rule whose
// assertions the system refuses shows in ruleHolds() without active().
// Main thread only.
class TriggerManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool automationEnabled READ automationEnabled WRITE setAutomationEnabled NOTIFY rulesChanged)
    Q_PROPERTY(bool keepAwakeOnAC READ keepAwakeOnAC WRITE setKeepAwakeOnAC NOTIFY rulesChanged)
    Q_PROPERTY(bool keepAwakeOnExternalDisplay READ keepAwakeOnExternalDisplay WRITE setKeepAwakeOnExternalDisplay
            NOTIFY rulesChanged)
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
        platform::RunningApps* apps = nullptr;          // null: no application runs
        platform::ExternalDisplays* displays = nullptr; // null: no external display
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
    // Each stores its key and evaluates.
    void setAutomationEnabled(bool on);
    void setKeepAwakeOnAC(bool on);
    void setKeepAwakeOnExternalDisplay(bool on);

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
    const QTimer& pollTimer() const { return m_pollTimer; }

    bool active() const { return m_active; }
    bool ruleHolds() const { return m_reasons.onAC || m_reasons.extDisplay || !m_reasons.apps.isEmpty(); }
    // The holding rules, joined by ", ": "on AC power, Kdenlive +1", in
    // the language of the installed translator.
    QString activeReason() const;
    std::optional<Kind> coolingProfileActive() const { return m_cooling; }
    const SleepAssertions& assertions() const { return m_assertions; }

signals:
    void rulesChanged();
    void appsChanged();
    void activeChanged();
    // An evaluation decided, from the running applications it asked for.
    void evaluated();

private:
    QString localName(const platform::RunningApps::App& app) const;
    // The rules that hold: the two switches' and the matched apps' text.
    struct Reasons {
        bool onAC = false;
        bool extDisplay = false;
        QString apps;
        bool operator==(const Reasons&) const = default;
    };

    void decide(const QSet<QString>& running);
    void loadApps(const QList<TriggerApp>& stored);
    void storeApps();
    void inactive();
    void requestCooling(std::optional<Kind> kind);
    void publish(const Reasons& reasons, std::optional<Kind> cooling);
    void updateActive();
    bool batteryLow() const;

    Parts m_parts;
    SleepAssertions m_assertions;
    QPointer<FanController> m_coolingSink;
    bool m_enabled = false;
    bool m_onAC = false;
    bool m_extDisplay = false;
    QList<TriggerApp> m_apps;
    bool m_active = false;
    Reasons m_reasons;
    std::optional<Kind> m_cooling;
    QTimer m_pollTimer;
};

} // namespace quillon::app
