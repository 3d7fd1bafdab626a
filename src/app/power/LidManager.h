#pragma once

#include "SleepAssertions.h"
#include "platform/LidSwitchOwner.h"

#include "core/CoolingProfile.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>

namespace quillon::platform {
class Clock;
class LidSensor;
class ThermalPressure;
} // namespace quillon::platform

namespace quillon::app {

class FanController;
class Notifier;
class PowerSource;
class Settings;

// Keeps a laptop running with its lid closed: has the helper hold the lid
// lock (or holds one itself while no helper is installed), holds a system
// assertion, asks for balanced cooling, and guards the closed machine: it
// stops itself on heat or a low battery, with the reason in lastAutoOff and a
// notification. When the lid has been open again for five seconds it
// reminds the user, once per closing, that it is still on.
//
// A lid lock only helps where the login manager acts on the lid. Where a
// desktop power manager has taken the lid, switching on first has it hand
// the lid back (Xfce's can, and its setting is put back when switched off),
// else refuses with the setting the user must change. A refusal, of the
// power manager or the helper, switches it off again with the reason in
// holdState(): it is never shown on while nothing holds the lid.
//
// A background app is not throttled on Linux, so no process activity is
// needed to keep the lid poll running. Main thread only; the timers call
// tick() (every 20 s) and lidTick() (every second); tests call them directly.
class LidManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(QString lastAutoOff READ lastAutoOff NOTIFY lastAutoOffChanged)
    Q_PROPERTY(QString holdNote READ holdNote NOTIFY holdChanged)

public:
    static constexpr core::CoolingProfile::Kind coolingProfile = core::CoolingProfile::Kind::balanced;
    static constexpr double reopenDelay = 5.0; // seconds the lid stays open before the reminder
    static constexpr int watchdogIntervalMs = 20000;
    static constexpr int lidPollIntervalMs = 1000;
    static constexpr int lowBatteryPercent = 15;
    static constexpr double handOverWait = 5.0; // seconds a power manager gets to let go of the lid

    struct Parts {
        std::shared_ptr<platform::PowerAssertionBackend> assertions;
        const PowerSource* power = nullptr;
        platform::LidSensor* lid = nullptr;
        platform::ThermalPressure* thermal = nullptr; // may be null: never too hot
        platform::LidSwitchOwner* lidOwner = nullptr; // may be null: the login manager acts on the lid
        Notifier* notifier = nullptr;                 // may be null: no notifications
        Settings* settings = nullptr;
        const platform::Clock* clock = nullptr;
        bool startTimers = true;
    };

    explicit LidManager(Parts parts, QObject* parent = nullptr);
    ~LidManager() override;

    // Set once by the keep-awake manager; without it, switching does nothing.
    void setFanController(FanController* fan) { m_fan = fan; }

    bool enabled() const { return m_enabled; }
    void setEnabled(bool on);
    QString lastAutoOff() const { return m_lastAutoOff; }
    // Whether the lid is held and through what, or why it could not be. It
    // counts as held only while its system assertion is in force too: a lid
    // that does not suspend the machine still lets it sleep on idle.
    SleepAssertions::KindState holdState() const;
    QString holdNote() const;
    const SleepAssertions& assertions() const { return m_assertions; }

    // The 20-second watchdog: re-asserts the lid lock, then the battery and heat rules.
    void tick();
    // The 1-second lid poll.
    void lidTick();
    // Stops when the machine is throttling (serious or critical pressure).
    void checkThermal();

signals:
    void enabledChanged();
    void lastAutoOffChanged();
    void holdChanged();

private:
    using Phase = SleepAssertions::KindState::Phase;

    void switchOn();
    void switchOff();
    void autoStop(const QString& reason);
    // Takes the lid: asks who holds it, without waiting, then onLidOwner().
    void claimLid();
    // Hands the lid back from a power manager, or locks it.
    void onLidOwner(const platform::LidSwitchOwner::Owner& owner);
    void lockLid();
    // Switches off with the reason in holdState(). A hold lost after it was in
    // force (found by the watchdog or told by the system) is an automatic stop
    // and told as one.
    void refuse(const QString& problem);
    void announceStop(const QString& reason);
    void onSystemState();
    void setHold(Phase phase, const QString& through = {}, const QString& problem = {});
    void onAssertionState(platform::PowerAssertionBackend::AssertionId id);

    Parts m_parts;
    QPointer<FanController> m_fan;
    SleepAssertions m_assertions;
    bool m_enabled = false;
    QString m_lastAutoOff;
    QTimer m_watchdog;
    QTimer m_lidPoll;
    bool m_lidWasClosed = false;
    bool m_remindedThisClose = false;
    QDateTime m_openedAt;
    SleepAssertions::KindState m_hold; // the lid lock's own state
    QDateTime m_handOverAsked;         // valid while waiting for a power manager to let go
    bool m_handedOver = false;         // a power manager's setting is ours to put back
    bool m_askingOwner = false;        // who holds the lid is being asked
    bool m_handingOver = false;        // a power manager is being asked to hand the lid back
    std::optional<platform::PowerAssertionBackend::AssertionId> m_ownLock; // without a helper
};

} // namespace quillon::app
