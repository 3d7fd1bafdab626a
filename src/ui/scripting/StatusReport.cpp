#include "StatusReport.h"

#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "app/fan/FanController.h"
#include "app/install/UpdateChecker.h"
#include "app/power/DriveManager.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/LidManager.h"
#include "app/power/ProcessKeepAwake.h"
#include "app/power/SleepManager.h"
#include "ui/panel/PanelTexts.h"

#include <QJsonArray>
#include <QMetaEnum>
#include <map>

namespace quillon::ui {

namespace {

QJsonValue number(const std::optional<double>& value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonValue time(const QDateTime& at)
{
    return at.isValid() ? QJsonValue(at.toUTC().toString(Qt::ISODate)) : QJsonValue(QJsonValue::Null);
}

QJsonValue text(const QString& value)
{
    return value.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(value);
}

// One kind or the lid: whether it is in force and through what, or why not.
QJsonObject holdState(const app::SleepAssertions::KindState& state)
{
    using Phase = app::SleepAssertions::KindState::Phase;
    static const std::map<Phase, QString> names{{Phase::off, "off"}, {Phase::confirming, "confirming"},
        {Phase::inForce, "inForce"}, {Phase::failed, "failed"}, {Phase::paused, "paused"}};
    return {{"state", names.at(state.phase)}, {"through", text(state.through)}, {"problem", text(state.problem)}};
}

// The kinds an owner asks for, each with where it stands.
QJsonObject heldKinds(const app::SleepAssertions& assertions)
{
    QJsonObject held;
    for (const auto kind : app::SleepAssertions::allKinds) {
        const auto state = assertions.state(kind);
        if (state.phase != app::SleepAssertions::KindState::Phase::off)
            held.insert(app::SleepAssertions::rawValue(kind), holdState(state));
    }
    return held;
}

QJsonObject awake(const app::SleepManager& manager, const platform::PowerAssertionBackend::OtherInhibitors& others)
{
    QJsonArray kinds;
    for (const auto kind : app::SleepAssertions::allKinds) {
        if (manager.activeKinds().contains(kind))
            kinds.append(app::SleepAssertions::rawValue(kind));
    }
    return {{"kinds", kinds}, {"held", heldKinds(manager.assertions())}, {"until", time(manager.expiresAt())},
        {"remaining", text(manager.remainingText().value_or(QString()))},
        {"otherInhibitors", QJsonArray::fromStringList(others.lines)},
        {"otherInhibitorsProblem", text(others.problem)}};
}

QJsonObject render(const app::RenderModeManager& render)
{
    const app::DaVinciMonitor& davinci = render.monitor();
    return {{"enabled", render.enabled()}, {"startedAt", time(render.startedAt())},
        {"elapsed", text(render.elapsedText())}, {"peakCPU", render.peakCPU()}, {"peakGPU", render.peakGPU()},
        {"peakRPM", render.peakRPM()}, {"throttleCount", render.throttleCount()},
        {"davinci",
            QJsonObject{{"available", davinci.available()}, {"rendering", davinci.rendering()},
                {"percent", davinci.percent()}, {"job", davinci.jobIndex()}, {"jobs", davinci.jobTotal()},
                {"project", text(davinci.project())}, {"justFinished", davinci.justFinished()}}}};
}

QJsonObject updates(const app::UpdateChecker& updates)
{
    return {{"enabled", updates.enabled()}, {"checking", updates.checking()}, {"checks", updates.finishedChecks()},
        {"answered", updates.lastAnswered()}, {"latestVersion", text(updates.latestVersion())},
        {"url", text(updates.downloadURL().toString())}, {"notes", text(updates.releaseNotes())}};
}

QJsonValue profile(const std::optional<core::CoolingProfile::Kind>& kind)
{
    return kind ? QJsonValue(QString::fromLatin1(core::CoolingProfile::rawValue(*kind))) : QJsonValue(QJsonValue::Null);
}

QJsonObject automation(const app::TriggerManager& triggers)
{
    QJsonArray apps;
    for (const app::TriggerApp& app : triggers.apps())
        apps.append(QJsonObject{{"id", app.bundleID}, {"name", app.name}, {"cooling", profile(app.cooling)}});
    QJsonArray rules;
    for (const auto& rule : triggers.ruleStates())
        rules.append(QJsonObject{{"rule", rule.rule}, {"on", rule.on}, {"holds", rule.holds}, {"why", rule.why}});
    return {{"enabled", triggers.automationEnabled()}, {"onAC", triggers.keepAwakeOnAC()},
        {"externalDisplay", triggers.keepAwakeOnExternalDisplay()}, {"fullscreen", triggers.keepAwakeOnFullScreen()},
        {"media", triggers.keepAwakeOnMedia()}, {"excluded", QJsonArray::fromStringList(triggers.excluded())},
        {"rules", rules}, {"apps", apps}, {"active", triggers.active()}, {"ruleHolds", triggers.ruleHolds()},
        {"reason", text(triggers.activeReason())}, {"cooling", profile(triggers.coolingProfileActive())},
        {"held", heldKinds(triggers.assertions())}};
}

QJsonObject awakeWhile(const app::ProcessKeepAwake& processes)
{
    QJsonArray list;
    for (const auto& watched : processes.processes())
        list.append(QJsonObject{{"pid", watched.pid}, {"command", watched.command}});
    return {{"processes", list}, {"held", heldKinds(processes.assertions())}};
}

QJsonObject fans(const app::FanController& fan)
{
    QJsonArray list;
    for (const app::FanInfo& info : fan.fans()) {
        list.append(QJsonObject{{"index", info.index}, {"currentRPM", info.currentRPM}, {"minRPM", info.minRPM},
            {"maxRPM", info.maxRPM}, {"targetRPM", info.targetRPM}});
    }
    const auto spinUp = fan.spinUpRemaining();
    return {{"enabled", fan.fansEnabled()}, {"mode", app::rawValue(fan.coolingMode())},
        {"profile", QString::fromLatin1(core::CoolingProfile::rawValue(fan.coolingProfile()))},
        {"manualPercent", fan.manualPercent()}, {"boosted", fan.isBoosted()}, {"targetPercent", fan.targetPercent()},
        {"boostEndsAt", time(fan.boostExpiresAt())}, {"boostRemaining", text(fan.boostRemainingText())},
        {"autoEngaged", fan.autoEngaged()}, {"autoFloor", fan.autoFloor()}, {"thermalOverride", fan.thermalOverride()},
        {"effectivePercent", fan.effectivePercent()}, {"spinningUp", spinUp.has_value()},
        {"releasePending", fan.releasePending()}, {"safetyHold", fan.safetyHold()},
        {"status", PanelTexts::fanStatus(fan)}, {"fans", list}};
}

QJsonObject temperatures(const app::FanController& fan)
{
    const QMetaEnum levels = QMetaEnum::fromType<platform::ThermalPressure::Level>();
    return {{"cpu", number(fan.cpuTemp())}, {"cpuSmoothed", number(fan.cpuTempSmoothed())},
        {"gpu", number(fan.gpuTemp())}, {"gpuSmoothed", number(fan.gpuTempSmoothed())},
        {"thermalState", QString::fromLatin1(levels.valueToKey(static_cast<int>(fan.thermalState())))}};
}

} // namespace

QJsonObject StatusReport::build(const app::SleepManager& manager, bool helperConnected, const IconState& icon,
    const HotkeyStatus& hotkeys, const platform::PowerAssertionBackend::OtherInhibitors& others)
{
    const app::FanController& fan = *manager.fan();
    const app::LidManager& lid = *manager.lid();
    return {{"awake", awake(manager, others)},
        {"lid",
            QJsonObject{{"enabled", lid.enabled()}, {"held", holdState(lid.holdState())},
                {"lastAutoOff", text(lid.lastAutoOff())}}},
        {"drives", QJsonObject{{"enabled", manager.drives()->enabled()}}}, {"render", render(*manager.renderMode())},
        {"fans", fans(fan)}, {"temperatures", temperatures(fan)}, {"automation", automation(*manager.triggers())},
        {"updates", updates(*manager.updates())}, {"awakeWhile", awakeWhile(*manager.processes())},
        {"helper",
            QJsonObject{{"installed", fan.helperInstalled()}, {"connected", helperConnected},
                {"message", text(fan.statusMessage())}}},
        {"hotkeys",
            QJsonObject{{"enabled", hotkeys.enabled}, {"held", hotkeys.state.held}, {"through", hotkeys.state.through},
                {"problem", hotkeys.state.problem}}},
        {"paused", manager.pause()->paused()}, {"pausedUntil", time(manager.pause()->until())},
        {"active", manager.anythingActive()}, {"icon", icon.active ? "active" : "idle"}, {"title", text(icon.title)}};
}

} // namespace quillon::ui
