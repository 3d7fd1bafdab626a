#include "DelayedReplies.h"

#include "app/power/SleepAssertions.h"

#include <QTimer>
#include <memory>
#include <utility>

namespace quillon::ui {

DelayedReplies::Answer DelayedReplies::replyTo(QDBusConnection bus, QDBusMessage call)
{
    return [bus, call](bool ok, const QString& text) mutable {
        bus.send(call.createReply({ok, text}));
    };
}

QStringList DelayedReplies::confirming(const app::SleepAssertions& holder)
{
    QStringList asked;
    for (const auto kind : app::SleepAssertions::allKinds) {
        const auto state = holder.state(kind);
        if (state.phase == app::SleepAssertions::KindState::Phase::confirming && state.problem.isEmpty())
            asked << app::SleepAssertions::rawValue(kind);
    }
    return asked;
}

QString DelayedReplies::unconfirmedNotes(const app::SleepAssertions& holder)
{
    QString notes;
    if (const QStringList asked = confirming(holder); !asked.isEmpty())
        notes += QStringLiteral("; asked for, not yet confirmed: %1").arg(asked.join(QStringLiteral(", ")));
    for (const auto kind : app::SleepAssertions::allKinds) {
        const auto state = holder.state(kind);
        if (state.phase == app::SleepAssertions::KindState::Phase::confirming && !state.problem.isEmpty())
            notes += QStringLiteral("; %1 asked through %2, not confirmed: %3")
                         .arg(app::SleepAssertions::rawValue(kind), state.through, state.problem);
    }
    return notes;
}

void DelayedReplies::answerOnceConfirmed(
    const app::SleepAssertions& holder, std::function<bool(QString& text)> compose, Answer later)
{
    auto* waiter = new QObject(this);
    auto answer = [compose, later, waiter, sent = std::make_shared<bool>(false)]() mutable {
        if (std::exchange(*sent, true))
            return;
        QString text;
        const bool ok = compose(text);
        later(ok, text);
        waiter->deleteLater();
    };
    connect(&holder, &app::SleepAssertions::stateChanged, waiter, [&holder, answer]() mutable {
        if (confirming(holder).isEmpty())
            answer();
    });
    // Within the caller's own wait; what is still unconfirmed then is said so.
    QTimer::singleShot(answerWithinMs, waiter, answer);
}

} // namespace quillon::ui
