#include "ScriptingService.h"

#include "StatusReport.h"
#include "app/automation/RenderModeManager.h"
#include "app/fan/FanController.h"
#include "app/fan/HelperLink.h"
#include "app/install/InstallResult.h"
#include "app/install/UpdateChecker.h"
#include "app/power/LidManager.h"
#include "app/power/SleepManager.h"
#include "platform/linux/DBusAsync.h"
#include "quillonadaptor.h"

#include <QDBusPendingCallWatcher>
#include <QJsonDocument>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <utility>

namespace quillon::ui {

ScriptingService::ScriptingService(
    app::SleepManager& manager, app::HelperLink& link, Hooks hooks, uid_t servedUid, QObject* parent)
    : QObject(parent)
    , m_manager(manager)
    , m_link(link)
    , m_hooks(std::move(hooks))
    , m_admission(servedUid)
    , m_awake(manager, m_replies)
    , m_fans(manager)
    , m_automation(manager, m_replies)
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
        now = m_awake.stayAwake(args.value(0).toStringList(), args.value(1).toString(), text, reply);
    else if (call.member() == QLatin1String("SetAutomation"))
        now = m_automation.setAutomation(args.value(0).toBool(), text, reply);
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
        return m_awake.stayAwake(kinds, until, text, {}).value_or(false);
    const auto now = m_awake.stayAwake(kinds, until, text, DelayedReplies::replyTo(connection(), message()));
    if (!now)
        setDelayedReply(true);
    return now.value_or(false);
}

bool ScriptingService::StopAwake(QString& text)
{
    return admitted() && m_awake.stop(text);
}

bool ScriptingService::FansOff(QString& text)
{
    return admitted() && m_fans.off(text);
}

bool ScriptingService::FansAuto(const QString& profile, QString& text)
{
    return admitted() && m_fans.automatic(profile, text);
}

bool ScriptingService::FansManual(double percent, double seconds, QString& text)
{
    return admitted() && m_fans.manual(percent, seconds, text);
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
    return admitted() && m_awake.awakeWhile(pid, text);
}

bool ScriptingService::Pause(const QString& until, QString& text)
{
    return admitted() && m_awake.pause(until, text);
}

bool ScriptingService::Resume(QString& text)
{
    return admitted() && m_awake.resume(text);
}

bool ScriptingService::SetAutomation(bool on, QString& text)
{
    if (!admitted())
        return false;
    if (!calledFromDBus())
        return m_automation.setAutomation(on, text, {}).value_or(false);
    const auto now = m_automation.setAutomation(on, text, DelayedReplies::replyTo(connection(), message()));
    if (!now)
        setDelayedReply(true);
    return now.value_or(false);
}

bool ScriptingService::AddAutomationApp(const QString& id, const QString& cooling, QString& text)
{
    return admitted() && m_automation.addApp(id, cooling, text);
}

bool ScriptingService::RemoveAutomationApp(const QString& id, QString& text)
{
    return admitted() && m_automation.removeApp(id, text);
}

bool ScriptingService::SetAutomationRule(const QString& rule, bool on, QString& text)
{
    return admitted() && m_automation.setRule(rule, on, text);
}

bool ScriptingService::SetExcludedApp(const QString& id, bool add, QString& text)
{
    return admitted() && m_automation.setExcluded(id, add, text);
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
