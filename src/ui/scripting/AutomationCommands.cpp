#include "AutomationCommands.h"

#include "EchoedInput.h"
#include "app/automation/TriggerManager.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/SleepManager.h"

#include <algorithm>
#include <utility>

namespace quillon::ui {

AutomationCommands::AutomationCommands(app::SleepManager& manager, DelayedReplies& replies, QObject* parent)
    : QObject(parent)
    , m_manager(manager)
    , m_replies(replies)
{
}

app::TriggerManager& AutomationCommands::triggers() const
{
    return *m_manager.triggers();
}

std::optional<bool> AutomationCommands::setAutomation(bool on, QString& text, DelayedReplies::Answer later)
{
    if (on && later) {
        // Which rules hold is known once the running applications are (the
        // processes are read on a worker thread), and what they hold once the
        // desktop has confirmed it: the answer waits for both.
        connect(
            &triggers(), &app::TriggerManager::evaluated, this,
            [this, later]() mutable {
                QString reply;
                if (const auto now = settle(true, reply, later))
                    later(*now, reply);
            },
            Qt::SingleShotConnection);
        triggers().setAutomationEnabled(true);
        return std::nullopt;
    }
    triggers().setAutomationEnabled(on);
    return settle(on, text, later);
}

std::optional<bool> AutomationCommands::settle(bool on, QString& text, DelayedReplies::Answer later)
{
    if (on && m_manager.pause()->paused()) {
        text = QStringLiteral("automation on; it holds nothing until the pause ends (quillon ctl resume)");
        return saved(text);
    }
    if (later && !DelayedReplies::confirming(triggers().assertions()).isEmpty()) {
        m_replies.answerOnceConfirmed(
            triggers().assertions(), [this, on](QString& reply) { return answer(on, reply); }, std::move(later));
        return std::nullopt;
    }
    return answer(on, text);
}

bool AutomationCommands::answer(bool on, QString& text) const
{
    app::TriggerManager& t = triggers();
    if (on && t.unconfirmed()) {
        text
            = QStringLiteral("automation on, but its keep-awake is asked for, not confirmed (%1)").arg(t.activeReason())
            + DelayedReplies::unconfirmedNotes(t.assertions());
        return false;
    }
    if (on && !t.active() && t.ruleHolds()) {
        text = QStringLiteral("automation on, but its keep-awake is refused (%1): %2")
                   .arg(t.activeReason(), t.assertions().firstProblem());
        return false;
    }
    if (!on)
        text = QStringLiteral("automation off");
    else if (t.active())
        text = QStringLiteral("automation on, keeping awake: %1").arg(t.activeReason());
    else
        text = QStringLiteral("automation on; no rule holds now");
    return saved(text);
}

bool AutomationCommands::addApp(const QString& id, const QString& cooling, QString& text)
{
    app::TriggerManager& t = triggers();
    std::optional<core::CoolingProfile::Kind> kind;
    if (!cooling.isEmpty()) {
        kind = core::CoolingProfile::fromRawValue(cooling.toStdString());
        if (!kind) {
            text = QStringLiteral("unknown cooling: %1 (silent, balanced or max)").arg(EchoedInput::of(cooling));
            return false;
        }
    }
    const auto installed = t.installedApp(id);
    if (!installed) {
        text = QStringLiteral("no installed application has the desktop id %1").arg(EchoedInput::of(id));
        return false;
    }
    const bool listed
        = std::any_of(t.apps().begin(), t.apps().end(), [&](const app::TriggerApp& a) { return a.bundleID == id; });
    if (listed) {
        t.setCooling(kind, id);
    } else if (!t.addApp({id, installed->name, kind})) {
        text = QStringLiteral("the list already holds %1 applications, the most it can; "
                              "take one off first (quillon ctl auto remove DESKTOP-ID)")
                   .arg(app::TriggerManager::maxApps);
        return false;
    }
    text = kind ? QStringLiteral("%1 keeps awake and cool (%2) while it runs").arg(installed->name, cooling)
                : QStringLiteral("%1 keeps awake while it runs").arg(installed->name);
    if (!t.automationEnabled())
        text += QStringLiteral(" (automation is off: quillon ctl auto on)");
    return saved(text);
}

bool AutomationCommands::removeApp(const QString& id, QString& text)
{
    if (!triggers().removeApp(id)) {
        text = QStringLiteral("%1 is not on the list").arg(EchoedInput::of(id));
        return false;
    }
    text = QStringLiteral("%1 taken off the list").arg(id);
    return saved(text);
}

bool AutomationCommands::setRule(const QString& rule, bool on, QString& text)
{
    app::TriggerManager& t = triggers();
    QString unavailable;
    if (rule == QLatin1String("fullscreen")) {
        unavailable = t.fullScreenUnavailable();
        if (on && !unavailable.isEmpty()) {
            text = QStringLiteral("the full-screen rule is unavailable: %1").arg(unavailable);
            return false;
        }
        t.setKeepAwakeOnFullScreen(on);
        text = on ? QStringLiteral("keeps awake while another app is full screen")
                  : QStringLiteral("full screen no longer keeps awake");
    } else if (rule == QLatin1String("media")) {
        unavailable = t.mediaUnavailable();
        if (on && !unavailable.isEmpty()) {
            text = QStringLiteral("the media rule is unavailable: %1").arg(unavailable);
            return false;
        }
        t.setKeepAwakeOnMedia(on);
        text = on ? QStringLiteral("keeps awake while media plays") : QStringLiteral("media no longer keeps awake");
    } else {
        text = QStringLiteral("unknown rule: %1 (fullscreen or media)").arg(EchoedInput::of(rule));
        return false;
    }
    if (on && !t.automationEnabled())
        text += QStringLiteral(" (automation is off: quillon ctl auto on)");
    return saved(text);
}

bool AutomationCommands::setExcluded(const QString& id, bool add, QString& text)
{
    app::TriggerManager& t = triggers();
    if (!add) {
        if (!t.removeExcluded(id)) {
            text = QStringLiteral("%1 is not excluded").arg(EchoedInput::of(id));
            return false;
        }
        text = QStringLiteral("%1 counts again when full screen").arg(id);
        return saved(text);
    }
    const auto installed = t.installedApp(id);
    if (!installed) {
        text = QStringLiteral("no installed application has the desktop id %1").arg(EchoedInput::of(id));
        return false;
    }
    if (!t.excluded().contains(id) && !t.addExcluded(id)) {
        text = QStringLiteral("%1 applications are excluded, the most there can be").arg(app::TriggerManager::maxApps);
        return false;
    }
    text = QStringLiteral("%1 does not keep awake when full screen").arg(installed->name);
    return saved(text);
}

bool AutomationCommands::saved(QString& text) const
{
    const QString error = triggers().saveError();
    if (error.isEmpty())
        return true;
    text += QStringLiteral(", but only until Quillon ends: %1").arg(error);
    return false;
}

} // namespace quillon::ui
