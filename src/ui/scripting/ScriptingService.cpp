#include "ScriptingService.h"

#include "EchoedInput.h"
#include "StatusReport.h"
#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "app/fan/FanController.h"
#include "app/fan/HelperLink.h"
#include "app/install/InstallResult.h"
#include "app/install/UpdateChecker.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/LidManager.h"
#include "app/power/ProcessKeepAwake.h"
#include "app/power/SleepManager.h"
#include "platform/linux/DBusAsync.h"
#include "quillonadaptor.h"

#include "core/FanFloor.h"

#include <QDBusPendingCallWatcher>
#include <QJsonDocument>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace quillon::ui {

namespace {

QString kindList(const QStringList& kinds)
{
    return kinds.join(QStringLiteral(", "));
}

} // namespace

ScriptingService::ScriptingService(
    app::SleepManager& manager, app::HelperLink& link, Hooks hooks, uid_t servedUid, QObject* parent)
    : QObject(parent)
    , m_manager(manager)
    , m_link(link)
    , m_hooks(std::move(hooks))
    , m_admission(servedUid)
{
    new QuillonAdaptor(this); // owned by this
}

bool ScriptingService::registerOn(QDBusConnection bus, QString& error)
{
    if (!bus.isConnected()) {
        error = QStringLiteral("no session bus (%1)").arg(bus.lastError().message());
        return false;
    }
    const QString service = QString::fromLatin1(kService);
    if (bus.interface()->isServiceRegistered(service).value()) {
        error = QStringLiteral("another Quillon already serves %1").arg(service);
        return false;
    }
    if (!bus.registerObject(QString::fromLatin1(kObjectPath), this) || !bus.registerService(service)) {
        error = QStringLiteral("cannot take %1: %2").arg(service, bus.lastError().message());
        return false;
    }
    m_admission.trust(bus.baseService()); // the calls it relays to itself
    return true;
}

bool ScriptingService::admitted()
{
    if (!calledFromDBus())
        return true;
    const QDBusMessage call = message();
    switch (m_admission.verdict(call.service())) {
    case CallerAdmission::Verdict::served:
        return true;
    case CallerAdmission::Verdict::refused:
        sendErrorReply(QDBusError::AccessDenied, CallerAdmission::refusal());
        return false;
    case CallerAdmission::Verdict::unknown:
        break;
    }
    // A caller not seen before: its user is asked of the bus without
    // waiting, and the call answered once that is known.
    setDelayedReply(true);
    QDBusConnection bus = connection();
    m_admission.ask(bus, call, [this, bus, call](bool served) mutable {
        if (!served) {
            bus.send(call.createErrorReply(QDBusError::AccessDenied, CallerAdmission::refusal()));
            return;
        }
        serveAdmitted(bus, call);
    });
    return false;
}

void ScriptingService::serveAdmitted(QDBusConnection bus, const QDBusMessage& call)
{
    // The flows that wait for the password dialog answer the call themselves.
    if (call.member() == QLatin1String("InstallHelper")) {
        installHelperFor(call.arguments().value(0).toBool(), bus, call);
        return;
    }
    if (call.member() == QLatin1String("Uninstall")) {
        uninstallFor(bus, call);
        return;
    }
    // Answered once logind has told who else blocks sleep, or once the
    // desktop has confirmed what they ask for, which a call to itself could
    // not wait for.
    if (call.member() == QLatin1String("Status")) {
        statusFor(bus, call);
        return;
    }
    const QVariantList args = call.arguments();
    std::optional<bool> now;
    QString text;
    const DelayedReplies::Answer reply = DelayedReplies::replyTo(bus, call);
    if (call.member() == QLatin1String("StayAwake"))
        now = stayAwake(args.value(0).toStringList(), args.value(1).toString(), text, reply);
    else if (call.member() == QLatin1String("SetAutomation"))
        now = setAutomation(args.value(0).toBool(), text, reply);
    if (call.member() == QLatin1String("StayAwake") || call.member() == QLatin1String("SetAutomation")) {
        if (now)
            reply(*now, text);
        return;
    }
    // Served now by calling itself with the same arguments, and the
    // answer handed on to the caller.
    QDBusMessage again
        = QDBusMessage::createMethodCall(bus.baseService(), call.path(), call.interface(), call.member());
    again.setArguments(call.arguments());
    auto* relay = new QDBusPendingCallWatcher(platform::linux_::DBusAsync::call(bus, again), this);
    connect(relay, &QDBusPendingCallWatcher::finished, this, [bus, call](QDBusPendingCallWatcher* r) mutable {
        r->deleteLater();
        const QDBusMessage answer = r->reply();
        bus.send(answer.type() == QDBusMessage::ErrorMessage
                ? call.createErrorReply(answer.errorName(), answer.errorMessage())
                : call.createReply(answer.arguments()));
    });
}

QString ScriptingService::Status()
{
    if (!admitted())
        return {};
    if (calledFromDBus()) {
        setDelayedReply(true);
        statusFor(connection(), message());
    }
    return {};
}

void ScriptingService::statusFor(QDBusConnection bus, QDBusMessage call)
{
    // Who else blocks sleep is logind's to tell; the report is made when it
    // has (or has failed to), so it shows the rest as it is then.
    QPointer<ScriptingService> self(this);
    m_manager.askOtherInhibitors(
        [self, bus, call](const platform::PowerAssertionBackend::OtherInhibitors& others) mutable {
            if (!self)
                return;
            const QJsonObject report
                = StatusReport::build(self->m_manager, self->m_link.isOpen(), self->m_hooks.iconState(),
                    self->m_hooks.hotkeys ? self->m_hooks.hotkeys() : StatusReport::HotkeyStatus{}, others);
            bus.send(call.createReply(QString::fromUtf8(QJsonDocument(report).toJson(QJsonDocument::Compact))));
        });
}

bool ScriptingService::StayAwake(const QStringList& kinds, const QString& until, QString& text)
{
    if (!admitted())
        return false;
    if (!calledFromDBus())
        return stayAwake(kinds, until, text, {}).value_or(false);
    const auto now = stayAwake(kinds, until, text, DelayedReplies::replyTo(connection(), message()));
    if (!now)
        setDelayedReply(true);
    return now.value_or(false);
}

std::optional<bool> ScriptingService::stayAwake(
    const QStringList& kinds, const QString& until, QString& text, DelayedReplies::Answer later)
{
    if (kinds.isEmpty()) {
        text = QStringLiteral("no kind given");
        return false;
    }
    for (const QString& kind : kinds) {
        if (!app::SleepAssertions::fromRawValue(kind)) {
            text = QStringLiteral("unknown kind: %1 (system, display or network)").arg(EchoedInput::of(kind));
            return false;
        }
    }
    QDateTime end;
    if (!until.isEmpty()) {
        end = QDateTime::fromString(until, Qt::ISODate);
        if (!end.isValid()) {
            text = QStringLiteral("not an ISO 8601 time: %1").arg(EchoedInput::of(until));
            return false;
        }
        if (end <= QDateTime::currentDateTime()) {
            text = QStringLiteral("%1 has already passed").arg(EchoedInput::of(until));
            return false;
        }
    }
    m_manager.applyNames(kinds, end);
    if (m_manager.pause()->paused()) {
        text = QStringLiteral("keeping %1 awake once the pause ends (quillon ctl resume)").arg(kindList(kinds));
        return true;
    }
    if (later && !DelayedReplies::confirming(m_manager.assertions()).isEmpty()) {
        // Answered once the desktop has said yes or no, without waiting here.
        m_replies.answerOnceConfirmed(
            m_manager.assertions(), [this, kinds, end](QString& answer) { return awakeAnswer(kinds, end, answer); },
            std::move(later));
        return std::nullopt;
    }
    return awakeAnswer(kinds, end, text);
}

bool ScriptingService::awakeAnswer(const QStringList& kinds, const QDateTime& end, QString& text) const
{
    // Done only once the system shows something in force; a kind it took
    // without showing it is no promise a script may rely on.
    if (m_manager.kindsInForce().isEmpty()) {
        if (m_manager.kindsUnconfirmed().isEmpty()) {
            text = QStringLiteral("keep-awake refused: %1").arg(m_manager.firstProblem());
            return false;
        }
        text = QStringLiteral("keep-awake asked for, not confirmed") + unconfirmedNotes(m_manager.assertions());
        if (const QString problem = m_manager.firstProblem(); !problem.isEmpty())
            text += QStringLiteral("; refused: %1").arg(problem);
        return false;
    }
    const auto remaining = m_manager.remainingText();
    text = remaining ? QStringLiteral("keeping %1 awake for %2 (until %3)")
                           .arg(kindList(kinds), *remaining, end.toLocalTime().toString(Qt::ISODate))
                     : QStringLiteral("keeping %1 awake until turned off").arg(kindList(kinds));
    if (const QString problem = m_manager.firstProblem(); !problem.isEmpty())
        text += QStringLiteral("; not everything holds: %1").arg(problem);
    text += unconfirmedNotes(m_manager.assertions());
    return true;
}

QString ScriptingService::unconfirmedNotes(const app::SleepAssertions& holder)
{
    QString notes;
    if (const QStringList asked = DelayedReplies::confirming(holder); !asked.isEmpty())
        notes += QStringLiteral("; asked for, not yet confirmed: %1").arg(kindList(asked));
    for (const auto kind : app::SleepAssertions::allKinds) {
        const auto state = holder.state(kind);
        if (state.phase == app::SleepAssertions::KindState::Phase::confirming && !state.problem.isEmpty())
            notes += QStringLiteral("; %1 asked through %2, not confirmed: %3")
                         .arg(app::SleepAssertions::rawValue(kind), state.through, state.problem);
    }
    return notes;
}

bool ScriptingService::StopAwake(QString& text)
{
    if (!admitted())
        return false;
    m_manager.applyNames({}, QDateTime());
    text = QStringLiteral("keep-awake off");
    return true;
}

bool ScriptingService::fanControlAvailable(QString& text) const
{
    if (m_manager.fan()->helperInstalled())
        return true;
    text = QStringLiteral("fan control needs the fan helper, which is not installed");
    return false;
}

bool ScriptingService::FansOff(QString& text)
{
    if (!admitted())
        return false;
    if (!fanControlAvailable(text))
        return false;
    app::FanController::UserAction action(*m_manager.fan());
    m_manager.fan()->setFansEnabled(false);
    text = QStringLiteral("fan control off; the firmware runs the fans");
    return true;
}

bool ScriptingService::FansAuto(const QString& profile, QString& text)
{
    if (!admitted())
        return false;
    if (!fanControlAvailable(text))
        return false;
    app::FanController& fan = *m_manager.fan();
    app::FanController::UserAction action(fan);
    if (!profile.isEmpty()) {
        const auto kind = core::CoolingProfile::fromRawValue(profile.toStdString());
        if (!kind) {
            text = QStringLiteral("unknown profile: %1 (silent, balanced or max)").arg(EchoedInput::of(profile));
            return false;
        }
        fan.setCoolingProfile(*kind);
    }
    fan.setCoolingMode(app::CoolingMode::automatic);
    if (!fan.fansEnabled())
        fan.setFansEnabled(true);
    text = QStringLiteral("fans follow the %1 profile")
               .arg(QString::fromLatin1(core::CoolingProfile::rawValue(fan.coolingProfile())));
    return true;
}

bool ScriptingService::FansManual(double percent, double seconds, QString& text)
{
    if (!admitted())
        return false;
    if (!fanControlAvailable(text))
        return false;
    if (!std::isfinite(percent) || percent < 0 || percent > 100 || !std::isfinite(seconds) || seconds < 0) {
        text = QStringLiteral("a floor is 0..100 percent, a boost a positive number of seconds");
        return false;
    }
    app::FanController& fan = *m_manager.fan();
    app::FanController::UserAction action(fan);
    if (percent < core::FanFloor::resolutionPercent)
        return FansOff(text);
    if (seconds > 0)
        fan.setBoostDuration(seconds);
    fan.setCoolingMode(app::CoolingMode::manual);
    if (!fan.fansEnabled())
        fan.setFansEnabled(true);
    fan.setManualFloor(percent);
    text = QStringLiteral("fans at a floor of %1 % for %2").arg(std::lround(percent)).arg(fan.boostRemainingText());
    return true;
}

bool ScriptingService::SetLid(bool on, QString& text)
{
    if (!admitted())
        return false;
    app::LidManager& lid = *m_manager.lid();
    lid.setEnabled(on);
    if (!on) {
        text = QStringLiteral("closed-lid keep-awake off");
        return true;
    }
    // Answered with what holds now; a lock still being confirmed shows in `ctl status`.
    const auto& held = lid.holdState();
    using Phase = app::SleepAssertions::KindState::Phase;
    if (held.phase == Phase::failed) {
        text = QStringLiteral("closed-lid keep-awake refused: %1").arg(held.problem);
        return false;
    }
    text = held.phase == Phase::inForce
        ? QStringLiteral("closed-lid keep-awake on, through %1").arg(held.through)
        : QStringLiteral("closed-lid keep-awake on, being confirmed through %1").arg(held.through);
    return true;
}

bool ScriptingService::CheckForUpdates(QString& text)
{
    if (!admitted())
        return false;
    app::UpdateChecker& updates = *m_manager.updates();
    if (!updates.enabled()) {
        text = QStringLiteral("this build does not check for updates (its package manager brings them)");
        return false;
    }
    updates.check();
    text = QStringLiteral("checking for updates");
    return true;
}

bool ScriptingService::SetRenderMode(bool on, QString& text)
{
    if (!admitted())
        return false;
    m_manager.renderMode()->setEnabled(on);
    text = on ? QStringLiteral("Render Mode on") : QStringLiteral("Render Mode off");
    return true;
}

bool ScriptingService::Reset(QString& text)
{
    if (!admitted())
        return false;
    m_manager.resetAll();
    text = QStringLiteral("keep-awake, closed lid, fan control and automation off");
    return true;
}

bool ScriptingService::AwakeWhile(qint64 pid, QString& text)
{
    if (!admitted())
        return false;
    QString problem;
    if (!m_manager.processes()->keepAwakeWhile(pid, problem)) {
        text = problem;
        return false;
    }
    text = QStringLiteral("keeping system, display awake while process %1 runs").arg(pid);
    return true;
}

bool ScriptingService::Pause(const QString& until, QString& text)
{
    if (!admitted())
        return false;
    QDateTime end;
    if (!until.isEmpty()) {
        end = QDateTime::fromString(until, Qt::ISODate);
        if (!end.isValid() || end <= QDateTime::currentDateTime()) {
            text = QStringLiteral("not an ISO 8601 time still to come: %1").arg(EchoedInput::of(until));
            return false;
        }
    }
    m_manager.pause()->pause(end.isValid() ? std::optional(end) : std::nullopt);
    text = end.isValid() ? QStringLiteral("keep-awake paused until %1").arg(end.toLocalTime().toString(Qt::ISODate))
                         : QStringLiteral("keep-awake paused until resumed");
    text += QStringLiteral("; Render Mode, closed lid and fan control go on");
    return true;
}

bool ScriptingService::Resume(QString& text)
{
    if (!admitted())
        return false;
    if (!m_manager.pause()->paused()) {
        text = QStringLiteral("keep-awake is not paused");
        return true;
    }
    m_manager.pause()->resume();
    text = QStringLiteral("keep-awake resumed");
    return true;
}

bool ScriptingService::SetAutomation(bool on, QString& text)
{
    if (!admitted())
        return false;
    if (!calledFromDBus())
        return setAutomation(on, text, {}).value_or(false);
    const auto now = setAutomation(on, text, DelayedReplies::replyTo(connection(), message()));
    if (!now)
        setDelayedReply(true);
    return now.value_or(false);
}

std::optional<bool> ScriptingService::setAutomation(bool on, QString& text, DelayedReplies::Answer later)
{
    app::TriggerManager& triggers = *m_manager.triggers();
    if (on && later) {
        // Which rules hold is known once the running applications are (the
        // processes are read on a worker thread), and what they hold once the
        // desktop has confirmed it: the answer waits for both.
        connect(
            &triggers, &app::TriggerManager::evaluated, this,
            [this, later]() mutable {
                QString answer;
                if (const auto now = settleAutomation(true, answer, later))
                    later(*now, answer);
            },
            Qt::SingleShotConnection);
        triggers.setAutomationEnabled(true);
        return std::nullopt;
    }
    triggers.setAutomationEnabled(on);
    return settleAutomation(on, text, later);
}

std::optional<bool> ScriptingService::settleAutomation(bool on, QString& text, DelayedReplies::Answer later)
{
    app::TriggerManager& triggers = *m_manager.triggers();
    if (on && m_manager.pause()->paused()) {
        text = QStringLiteral("automation on; it holds nothing until the pause ends (quillon ctl resume)");
        return saved(triggers, text);
    }
    if (later && !DelayedReplies::confirming(triggers.assertions()).isEmpty()) {
        m_replies.answerOnceConfirmed(
            triggers.assertions(), [this, on](QString& answer) { return automationAnswer(on, answer); },
            std::move(later));
        return std::nullopt;
    }
    return automationAnswer(on, text);
}

bool ScriptingService::automationAnswer(bool on, QString& text)
{
    app::TriggerManager& triggers = *m_manager.triggers();
    if (on && triggers.unconfirmed()) {
        text = QStringLiteral("automation on, but its keep-awake is asked for, not confirmed (%1)")
                   .arg(triggers.activeReason())
            + unconfirmedNotes(triggers.assertions());
        return false;
    }
    if (on && !triggers.active() && triggers.ruleHolds()) {
        text = QStringLiteral("automation on, but its keep-awake is refused (%1): %2")
                   .arg(triggers.activeReason(), triggers.assertions().firstProblem());
        return false;
    }
    if (!on)
        text = QStringLiteral("automation off");
    else if (triggers.active())
        text = QStringLiteral("automation on, keeping awake: %1").arg(triggers.activeReason());
    else
        text = QStringLiteral("automation on; no rule holds now");
    return saved(triggers, text);
}

bool ScriptingService::AddAutomationApp(const QString& id, const QString& cooling, QString& text)
{
    if (!admitted())
        return false;
    app::TriggerManager& triggers = *m_manager.triggers();
    std::optional<core::CoolingProfile::Kind> kind;
    if (!cooling.isEmpty()) {
        kind = core::CoolingProfile::fromRawValue(cooling.toStdString());
        if (!kind) {
            text = QStringLiteral("unknown cooling: %1 (silent, balanced or max)").arg(EchoedInput::of(cooling));
            return false;
        }
    }
    const auto installed = triggers.installedApp(id);
    if (!installed) {
        text = QStringLiteral("no installed application has the desktop id %1").arg(EchoedInput::of(id));
        return false;
    }
    const bool listed = std::any_of(
        triggers.apps().begin(), triggers.apps().end(), [&](const app::TriggerApp& a) { return a.bundleID == id; });
    if (listed) {
        triggers.setCooling(kind, id);
    } else if (!triggers.addApp({id, installed->name, kind})) {
        text = QStringLiteral("the list already holds %1 applications, the most it can; "
                              "take one off first (quillon ctl auto remove DESKTOP-ID)")
                   .arg(app::TriggerManager::maxApps);
        return false;
    }
    text = kind ? QStringLiteral("%1 keeps awake and cool (%2) while it runs").arg(installed->name, cooling)
                : QStringLiteral("%1 keeps awake while it runs").arg(installed->name);
    if (!triggers.automationEnabled())
        text += QStringLiteral(" (automation is off: quillon ctl auto on)");
    return saved(triggers, text);
}

bool ScriptingService::RemoveAutomationApp(const QString& id, QString& text)
{
    if (!admitted())
        return false;
    if (!m_manager.triggers()->removeApp(id)) {
        text = QStringLiteral("%1 is not on the list").arg(EchoedInput::of(id));
        return false;
    }
    text = QStringLiteral("%1 taken off the list").arg(id);
    return saved(*m_manager.triggers(), text);
}

bool ScriptingService::SetAutomationRule(const QString& rule, bool on, QString& text)
{
    if (!admitted())
        return false;
    app::TriggerManager& triggers = *m_manager.triggers();
    QString unavailable;
    if (rule == QLatin1String("fullscreen")) {
        unavailable = triggers.fullScreenUnavailable();
        if (on && !unavailable.isEmpty()) {
            text = QStringLiteral("the full-screen rule is unavailable: %1").arg(unavailable);
            return false;
        }
        triggers.setKeepAwakeOnFullScreen(on);
        text = on ? QStringLiteral("keeps awake while another app is full screen")
                  : QStringLiteral("full screen no longer keeps awake");
    } else if (rule == QLatin1String("media")) {
        unavailable = triggers.mediaUnavailable();
        if (on && !unavailable.isEmpty()) {
            text = QStringLiteral("the media rule is unavailable: %1").arg(unavailable);
            return false;
        }
        triggers.setKeepAwakeOnMedia(on);
        text = on ? QStringLiteral("keeps awake while media plays") : QStringLiteral("media no longer keeps awake");
    } else {
        text = QStringLiteral("unknown rule: %1 (fullscreen or media)").arg(EchoedInput::of(rule));
        return false;
    }
    if (on && !triggers.automationEnabled())
        text += QStringLiteral(" (automation is off: quillon ctl auto on)");
    return saved(triggers, text);
}

bool ScriptingService::SetExcludedApp(const QString& id, bool add, QString& text)
{
    if (!admitted())
        return false;
    app::TriggerManager& triggers = *m_manager.triggers();
    if (!add) {
        if (!triggers.removeExcluded(id)) {
            text = QStringLiteral("%1 is not excluded").arg(EchoedInput::of(id));
            return false;
        }
        text = QStringLiteral("%1 counts again when full screen").arg(id);
        return saved(triggers, text);
    }
    const auto installed = triggers.installedApp(id);
    if (!installed) {
        text = QStringLiteral("no installed application has the desktop id %1").arg(EchoedInput::of(id));
        return false;
    }
    if (!triggers.excluded().contains(id) && !triggers.addExcluded(id)) {
        text = QStringLiteral("%1 applications are excluded, the most there can be").arg(app::TriggerManager::maxApps);
        return false;
    }
    text = QStringLiteral("%1 does not keep awake when full screen").arg(installed->name);
    return saved(triggers, text);
}

bool ScriptingService::saved(const app::TriggerManager& triggers, QString& text)
{
    const QString error = triggers.saveError();
    if (error.isEmpty())
        return true;
    text += QStringLiteral(", but only until Quillon ends: %1").arg(error);
    return false;
}

void ScriptingService::ShowPanel()
{
    if (!admitted())
        return;
    m_hooks.showPanel();
}

void ScriptingService::ShowSettings()
{
    if (!admitted())
        return;
    m_hooks.showSettings();
}

std::function<void(const app::InstallResult&)> ScriptingService::laterReply(
    QDBusConnection bus, QDBusMessage call, const QString& doneText, std::function<void()> after)
{
    QPointer<ScriptingService> self(this);
    return [bus, call, doneText, after, self](const app::InstallResult& result) mutable {
        QString text = doneText;
        if (result.kind == app::InstallResult::Kind::cancelled)
            text = QStringLiteral("the password dialog was dismissed; nothing changed");
        else if (result.kind == app::InstallResult::Kind::failed)
            text = result.message.isEmpty() ? QStringLiteral("unknown error") : result.message;
        bus.send(call.createReply({result.kind == app::InstallResult::Kind::success, text}));
        if (after && self && result.kind == app::InstallResult::Kind::success)
            QTimer::singleShot(0, self, after);
    };
}

void ScriptingService::installHelperFor(bool update, QDBusConnection bus, QDBusMessage call)
{
    const auto answer = [&](bool ok, const QString& text) {
        bus.send(call.createReply({ok, text}));
    };
    app::FanController& fan = *m_manager.fan();
    if (update && !fan.helperInstalled())
        return answer(false, QStringLiteral("the helper is not installed; 'quillon ctl helper install' installs it"));
    if (!update && fan.helperInstalled()) {
        return fan.helperNeedsUpdate() ? answer(false,
                   QStringLiteral(
                       "the helper is installed, but older than this app; 'quillon ctl helper update' replaces it"))
                                       : answer(true, QStringLiteral("the helper is installed already"));
    }
    fan.installHelper(laterReply(bus, call,
        update ? QStringLiteral("the helper is updated and running")
               : QStringLiteral("the helper is installed and running")));
}

void ScriptingService::uninstallFor(QDBusConnection bus, QDBusMessage call)
{
    if (!m_hooks.uninstall) {
        bus.send(call.createReply({false, QStringLiteral("this app cannot uninstall itself")}));
        return;
    }
    m_hooks.uninstall(laterReply(bus, call, QStringLiteral("Quillon has been removed; it quits now"), m_hooks.quit));
}

bool ScriptingService::InstallHelper(bool update, QString& text)
{
    if (!calledFromDBus()) {
        text = QStringLiteral("only over D-Bus");
        return false;
    }
    if (!admitted())
        return false;
    setDelayedReply(true);
    installHelperFor(update, connection(), message());
    return false;
}

bool ScriptingService::Uninstall(QString& text)
{
    if (!calledFromDBus()) {
        text = QStringLiteral("only over D-Bus");
        return false;
    }
    if (!admitted())
        return false;
    setDelayedReply(true);
    uninstallFor(connection(), message());
    return false;
}

void ScriptingService::Quit()
{
    if (!admitted())
        return;
    // After the reply has gone out.
    QTimer::singleShot(0, this, [this] { m_hooks.quit(); });
}

} // namespace quillon::ui
