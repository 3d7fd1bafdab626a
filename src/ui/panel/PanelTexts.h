#pragma once

#include "core/CoolingProfile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QString>
#include <QStringList>

namespace quillon::app {
struct BatteryFlow;
class FanController;
struct PowerInfo;
class SleepManager;
class TriggerManager;
} // namespace quillon::app

namespace quillon::ui {

// The panel's texts that depend on the models' state, in the language of the
// installed translator. Numbers in the texts are whole (percent, °C, W, rpm).
class PanelTexts {
    Q_DECLARE_TR_FUNCTIONS(PanelTexts)
public:
    PanelTexts() = delete;

    // --- the status section ---
    // One line per feature that is on, or one saying that none is.
    static QStringList statusLines(const app::SleepManager& manager);
    // The helper banner: that the helper is missing or outdated, what it
    // last said, or, while the installer runs, what it is doing; empty when all is well.
    static QString helperLine(const app::FanController& fan);
    // The banner's button: "Install", "Update", or empty for none.
    static QString helperAction(const app::FanController& fan);

    // --- keep-awake ---
    // The section's summary: off, the countdown and end, or open-ended.
    static QString awakeSummary(const app::SleepManager& manager);
    // "Paused until 14:30" (another day: "Paused until Tomorrow, 09:00"),
    // "Paused until you resume"; empty when not paused.
    static QString pausedText(const app::SleepManager& manager);
    // The end picked in the custom picker, or that it has passed.
    static QString customEnd(const QDateTime& end, const QDateTime& now, bool german);

    // --- automation ---
    // Off, on and waiting for a rule, on with the rules that hold, paused, or not in force.
    static QString automationSummary(const app::TriggerManager& triggers);
    // The cooling choice of an app that asks for none.
    static QString noCooling();

    // --- fans ---
    // What the fans are doing: off, manual, watching, active with its floor,
    // spinning up, or overridden by the helper's heat protection.
    static QString fanStatus(const app::FanController& fan);
    // A safety release's cause ("critical-heat", "no-readings", "no-sensors") in words.
    static QString safetyReason(const QString& code);
    // "CPU 64 °C · GPU 52 °C", or that there is no reading yet.
    static QString temperatures(const app::FanController& fan);
    // "Fan 1 · 2400 rpm", one per fan.
    static QStringList fanSpeeds(const app::FanController& fan);
    // Which profile another feature (closed lid, automation) has put in
    // force over the user's choice; empty when none has.
    static QString triggerNote(const app::FanController& fan);
    // The manual boost's countdown; empty without one.
    static QString boostCountdown(const app::FanController& fan);
    static QString profileName(core::CoolingProfile::Kind kind);
    static QString profileBlurb(core::CoolingProfile::Kind kind);

    // --- battery ---
    // The battery's charge and where its power goes; empty without a battery.
    static QString batteryHint(const app::PowerInfo& power, const app::BatteryFlow& flow);

    // "30 s", "10 min", "1 h": a duration choice, the same in both languages.
    static QString durationLabel(int seconds);
};

} // namespace quillon::ui
