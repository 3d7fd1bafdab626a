#include "Inhibition.h"

#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QTimer>

namespace quillon::platform::linux_ {

Inhibition::Inhibition(Phase phase)
    : m_phase(phase)
{
}

void Inhibition::settle(Phase phase, const QString& problem)
{
    if (m_phase != Phase::confirming)
        return;
    m_phase = phase;
    m_problem = problem;
    emit settled();
}

void Inhibition::confirmWith(QDBusConnection bus, QDBusMessage query, int delayMs,
    std::function<bool(const QDBusMessage& reply)> inForce, QString notListed)
{
    QPointer<Inhibition> self(this);
    QTimer::singleShot(delayMs, this, [self, bus, query, inForce = std::move(inForce), notListed]() mutable {
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(query), self);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, self,
            [self, inForce = std::move(inForce), notListed](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                const QDBusMessage reply = finished->reply();
                if (reply.type() == QDBusMessage::ReplyMessage && inForce(reply))
                    self->settle(Phase::inForce);
                else
                    self->settle(Phase::failed, notListed);
            });
    });
}

} // namespace quillon::platform::linux_
