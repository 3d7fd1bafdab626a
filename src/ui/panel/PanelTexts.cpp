#include "PanelTexts.h"

#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "app/fan/FanController.h"
#include "app/power/BatteryFlow.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/LidManager.h"
#include "app/power/PowerInfo.h"
#include "app/power/ProcessKeepAwake.h"
#include "app/power/SleepManager.h"

#include <cmath>

namespace quillon::ui {

namespace {

QString whole(double value)
{
    return QString::number(std::lround(value));
}

// "system, display", as the head names kinds.
QString kindNames(const QList<app::SleepAssertions::Kind>& kinds)
{
    QStringList names;
    for (const auto kind : kinds) {
        switch (kind) {
        case app::SleepAssertions::Kind::system:
            names << PanelTexts::tr("system");
            break;
        case app::SleepAssertions::Kind::display:
            names << PanelTexts::tr("display");
            break;
        case app::SleepAssertions::Kind::network:
            names << PanelTexts::tr("network");
            break;
        }
    }
    return names.join(QStringLiteral(", "));
}

} // namespace

QStringList PanelTexts::statusLines(const app::SleepManager& manager)
{
    QStringList lines;
    const bool paused = manager.pause()->paused();
    if (paused)
        lines.append(tr("⏸ %1 · Render Mode, closed lid and fan control go on").arg(pausedText(manager)));
    // "Awake" only for what the system shows in force; a kind it has taken
    // without showing it (the portal's) is named as only asked for.
    const auto inForce = manager.kindsInForce();
    const auto unconfirmed = manager.kindsUnconfirmed();
    const auto remaining = manager.remainingText();
    if (!inForce.isEmpty())
        lines.append(remaining ? tr("Awake · %1 left").arg(*remaining) : tr("Awake until you turn it off"));
    if (!unconfirmed.isEmpty()) {
        lines.append(inForce.isEmpty() && remaining
                ? tr("Keep-awake asked for, not confirmed: %1 · %2 left").arg(kindNames(unconfirmed), *remaining)
                : tr("Keep-awake asked for, not confirmed: %1").arg(kindNames(unconfirmed)));
    } else if (inForce.isEmpty() && paused && !manager.activeKinds().isEmpty()) {
        lines.append(remaining ? tr("Session paused · %1 left").arg(*remaining) : tr("Session paused"));
    } else if (inForce.isEmpty() && !manager.activeKinds().isEmpty()) {
        lines.append(tr("Keep-awake is not in force: %1").arg(manager.firstProblem()));
    }
    const app::TriggerManager& triggers = *manager.triggers();
    if (triggers.active()) {
        lines.append(tr("🤖 Auto keep-awake (%1)").arg(triggers.activeReason()));
    } else if (paused && triggers.ruleHolds()) {
        lines.append(tr("Auto keep-awake paused (%1)").arg(triggers.activeReason()));
    } else if (triggers.unconfirmed()) {
        lines.append(tr("Auto keep-awake asked for, not confirmed (%1)").arg(triggers.activeReason()));
    } else if (triggers.ruleHolds()) {
        lines.append(tr("Auto keep-awake is not in force: %1")
                         .arg(triggers.assertions().state(app::SleepAssertions::Kind::system).problem));
    }
    if (manager.processes()->active()) {
        QStringList commands;
        for (const auto& watched : manager.processes()->processes())
            commands.append(watched.command.isEmpty() ? QString::number(watched.pid) : watched.command);
        commands.removeDuplicates();
        const QString list = commands.join(QStringLiteral(", "));
        lines.append(paused ? tr("Paused: awake while %1 runs").arg(list) : tr("Awake while %1 runs").arg(list));
    }
    if (manager.lid()->enabled())
        lines.append(tr("Stays awake with the lid closed"));
    const app::RenderModeManager& render = *manager.renderMode();
    if (render.enabled()) {
        const auto system = render.assertions().state(app::SleepAssertions::Kind::system).phase;
        if (system == app::SleepAssertions::KindState::Phase::inForce)
            lines.append(tr("🎬 Render Mode keeps the system and network awake"));
        else if (system == app::SleepAssertions::KindState::Phase::confirming)
            lines.append(tr("Render Mode's keep-awake is asked for, not confirmed"));
        else
            lines.append(tr("Render Mode's keep-awake is not in force: %1").arg(render.assertions().firstProblem()));
    }
    const app::FanController& fan = *manager.fan();
    if (fan.fansEnabled() || fan.isBoosted() || fan.triggerProfile() || fan.releasePending()
        || !fan.safetyHold().isEmpty())
        lines.append(tr("Fan control · %1").arg(fanStatus(fan)));
    if (lines.isEmpty())
        lines.append(tr("Your Mac sleeps as usual."));
    return lines;
}

QString PanelTexts::helperLine(const app::FanController& fan)
{
    // pkexec shows polkit's own words, so the panel says what the password is for.
    if (fan.helperInstalling()) {
        return tr("Quillon is installing a small helper for fan control. After this, everything runs without further "
                  "password prompts.");
    }
    QStringList lines;
    if (!fan.helperInstalled())
        lines << tr("The fan helper is not installed, so fan control is off.");
    else if (fan.helperNeedsUpdate())
        lines << tr("This version of Quillon comes with a newer fan helper.");
    if (!fan.statusMessage().isEmpty())
        lines << fan.statusMessage();
    return lines.join(QLatin1Char('\n'));
}

QString PanelTexts::helperAction(const app::FanController& fan)
{
    if (fan.helperInstalling())
        return {};
    if (!fan.helperInstalled())
        return tr("Install");
    return fan.helperNeedsUpdate() ? tr("Update") : QString();
}

QString PanelTexts::awakeSummary(const app::SleepManager& manager)
{
    if (manager.activeKinds().isEmpty())
        return tr("Off");
    if (manager.pause()->paused())
        return pausedText(manager);
    const auto remaining = manager.remainingText();
    if (manager.kindsInForce().isEmpty()) {
        if (manager.kindsUnconfirmed().isEmpty())
            return tr("Not in force");
        return remaining ? tr("Not confirmed · %1 left").arg(*remaining) : tr("Not confirmed");
    }
    if (!remaining)
        return tr("On until you turn it off");
    return tr("%1 left · ends %2").arg(*remaining, manager.expiryDescription().value_or(QString()));
}

QString PanelTexts::automationSummary(const app::TriggerManager& triggers)
{
    if (!triggers.automationEnabled())
        return tr("Off");
    if (triggers.active())
        return tr("On — %1").arg(triggers.activeReason());
    if (triggers.ruleHolds() && triggers.assertions().paused())
        return tr("On — paused");
    if (triggers.unconfirmed())
        return tr("On — %1 (asked for, not confirmed)").arg(triggers.activeReason());
    if (triggers.ruleHolds())
        return tr("Not in force");
    return tr("On — waiting for a rule");
}

QString PanelTexts::noCooling()
{
    return tr("No cooling");
}

QString PanelTexts::pausedText(const app::SleepManager& manager)
{
    if (!manager.pause()->paused())
        return {};
    const auto end = manager.pauseEndDescription();
    return end ? tr("Paused until %1").arg(*end) : tr("Paused until you resume");
}

QString PanelTexts::customEnd(const QDateTime& end, const QDateTime& now, bool german)
{
    if (end <= now)
        return tr("That time has already passed.");
    return tr("Ends %1").arg(app::SleepManager::describeEnd(end, now, german));
}

QString PanelTexts::fanStatus(const app::FanController& fan)
{
    // A machine whose fans cannot be driven has nothing else to say.
    if (!fan.fanControlUnavailable().isEmpty())
        return tr("Fan control unavailable on this computer: %1").arg(fan.fanControlUnavailable());
    // Safety first: these two outrank whatever the user chose.
    if (fan.releasePending())
        return tr("Not handed back yet — fans held at full speed, retrying");
    if (!fan.safetyHold().isEmpty())
        return tr("Paused for safety: %1").arg(safetyReason(fan.safetyHold()));
    if (fan.thermalOverride())
        return tr("Mac takes over — fans at %1% due to heat").arg(whole(fan.effectivePercent()));
    if (const auto left = fan.spinUpRemaining())
        return *left > 0 ? tr("Fans spinning up …") : tr("Fans starting any moment …");
    // A profile decides the floor when the user chose one or another manager asked for cooling.
    const bool following
        = (fan.fansEnabled() && fan.coolingMode() == app::CoolingMode::automatic) || fan.triggerProfile().has_value();
    if (following) {
        return fan.autoEngaged() ? tr("Active · floor %1 %").arg(whole(fan.autoFloor()))
                                 : tr("Watching — quiet until it warms up");
    }
    if (fan.fansEnabled() && fan.isBoosted())
        return tr("Manual · floor %1 %").arg(whole(fan.targetPercent()));
    if (fan.fansEnabled())
        return tr("Manual · waiting for the helper");
    return tr("Off — the Mac runs its fans itself");
}

QString PanelTexts::safetyReason(const QString& code)
{
    if (code == QLatin1String("critical-heat"))
        return tr("critical temperature");
    if (code == QLatin1String("no-readings"))
        return tr("no temperature readings");
    if (code == QLatin1String("no-sensors"))
        return tr("no temperature sensors");
    return code;
}

QString PanelTexts::temperatures(const app::FanController& fan)
{
    const auto cpu = fan.cpuTempSmoothed() ? fan.cpuTempSmoothed() : fan.cpuTemp();
    if (!cpu)
        return tr("No temperature reading yet");
    QString text = QStringLiteral("CPU %1 °C").arg(whole(*cpu));
    // The GPU is shown while it reports; its median stays when it stops.
    if (fan.gpuTemp())
        text += QStringLiteral(" · GPU %1 °C").arg(whole(fan.gpuTempSmoothed().value_or(*fan.gpuTemp())));
    return text;
}

QStringList PanelTexts::fanSpeeds(const app::FanController& fan)
{
    QStringList lines;
    for (const app::FanInfo& info : fan.fans())
        lines.append(tr("Fan %1 · %2 rpm").arg(info.index + 1).arg(info.currentRPM));
    return lines;
}

QString PanelTexts::triggerNote(const app::FanController& fan)
{
    const auto kind = fan.triggerProfile();
    return kind ? tr("In force: %1, asked for by closed lid or automation").arg(profileName(*kind)) : QString();
}

QString PanelTexts::boostCountdown(const app::FanController& fan)
{
    const QString left = fan.boostRemainingText();
    return left.isEmpty() ? QString() : tr("Boost ends in %1").arg(left);
}

QString PanelTexts::profileName(core::CoolingProfile::Kind kind)
{
    switch (kind) {
    case core::CoolingProfile::Kind::silent:
        return tr("Silent");
    case core::CoolingProfile::Kind::balanced:
        return tr("Balanced");
    case core::CoolingProfile::Kind::max:
        break;
    }
    return tr("Max");
}

QString PanelTexts::profileBlurb(core::CoolingProfile::Kind kind)
{
    switch (kind) {
    case core::CoolingProfile::Kind::silent:
        return tr("Quiet — runs a bit cooler than macOS without getting loud.");
    case core::CoolingProfile::Kind::balanced:
        return tr("Keeps the Mac comfortably cool at moderate noise.");
    case core::CoolingProfile::Kind::max:
        break;
    }
    return tr("Maximum cooling — audible baseline, keeps the Mac cold.");
}

QString PanelTexts::batteryHint(const app::PowerInfo& power, const app::BatteryFlow& flow)
{
    using Case = app::BatteryFlow::Case;
    if (!power.hasBattery || flow.kind == Case::noBattery)
        return {};
    const QString charge = power.percentage ? tr("Battery %1%").arg(*power.percentage) : tr("Battery");
    QString where;
    switch (flow.kind) {
    case Case::charging:
        where = tr("charging with %1 W").arg(whole(flow.watts));
        break;
    case Case::draining:
        where = tr("adapter too weak, draining %1 W").arg(whole(flow.watts));
        break;
    case Case::onBattery:
        where = tr("on battery, using %1 W").arg(whole(flow.watts));
        break;
    case Case::idleOnAC:
    case Case::noBattery:
        where = tr("on power");
        break;
    }
    return charge + QStringLiteral(" · ") + where;
}

QString PanelTexts::durationLabel(int seconds)
{
    if (seconds < 60)
        return QStringLiteral("%1 s").arg(seconds);
    if (seconds < 3600)
        return QStringLiteral("%1 min").arg(seconds / 60);
    return QStringLiteral("%1 h").arg(seconds / 3600);
}

} // namespace quillon::ui
