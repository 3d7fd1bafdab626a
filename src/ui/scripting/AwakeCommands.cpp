#include "AwakeCommands.h"

#include "EchoedInput.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/ProcessKeepAwake.h"
#include "app/power/SleepManager.h"

#include <utility>

namespace quillon::ui {

namespace {

QString kindList(const QStringList& kinds)
{
    return kinds.join(QStringLiteral(", "));
}

} // namespace

AwakeCommands::AwakeCommands(app::SleepManager& manager, DelayedReplies& replies)
    : m_manager(manager)
    , m_replies(replies)
{
}

std::optional<bool> AwakeCommands::stayAwake(
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
            m_manager.assertions(), [this, kinds, end](QString& reply) { return answer(kinds, end, reply); },
            std::move(later));
        return std::nullopt;
    }
    return answer(kinds, end, text);
}

bool AwakeCommands::answer(const QStringList& kinds, const QDateTime& end, QString& text) const
{
    // Done only once the system shows something in force; a kind it took
    // without showing it is no promise a script may rely on.
    if (m_manager.kindsInForce().isEmpty()) {
        if (m_manager.kindsUnconfirmed().isEmpty()) {
            text = QStringLiteral("keep-awake refused: %1").arg(m_manager.firstProblem());
            return false;
        }
        text = QStringLiteral("keep-awake asked for, not confirmed")
            + DelayedReplies::unconfirmedNotes(m_manager.assertions());
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
    text += DelayedReplies::unconfirmedNotes(m_manager.assertions());
    return true;
}

bool AwakeCommands::stop(QString& text)
{
    m_manager.applyNames({}, QDateTime());
    text = QStringLiteral("keep-awake off");
    return true;
}

bool AwakeCommands::awakeWhile(qint64 pid, QString& text)
{
    QString problem;
    if (!m_manager.processes()->keepAwakeWhile(pid, problem)) {
        text = problem;
        return false;
    }
    text = QStringLiteral("keeping system, display awake while process %1 runs").arg(pid);
    return true;
}

bool AwakeCommands::pause(const QString& until, QString& text)
{
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

bool AwakeCommands::resume(QString& text)
{
    if (!m_manager.pause()->paused()) {
        text = QStringLiteral("keep-awake is not paused");
        return true;
    }
    m_manager.pause()->resume();
    text = QStringLiteral("keep-awake resumed");
    return true;
}

} // namespace quillon::ui
