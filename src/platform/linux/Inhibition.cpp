#include "Inhibition.h"

#include "DBusAsync.h"
#include "DBusTimeouts.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QTimer>
#include <algorithm>

namespace quillon::platform::linux_ {

void Inhibition::settle(Phase phase, const QString& problem)
{
    if (m_phase != Phase::confirming)
        return;
    m_phase = phase;
    m_problem = problem;
    emit settled();
}

void Inhibition::leaveUnconfirmed(const QString& why)
{
    if (m_phase != Phase::confirming || !m_problem.isEmpty())
        return;
    m_problem = why;
    emit unconfirmed();
}

void Inhibition::confirmWith(int delayMs, Check check, QString notListed, int lateMs)
{
    QTimer::singleShot(delayMs, this, [this, check = std::move(check), notListed = std::move(notListed), lateMs] {
        QPointer<Inhibition> self(this);
        check(*this, [self, check, notListed, lateMs](bool listed) {
            if (!self)
                return;
            if (!listed && lateMs > 0) {
                const int next = std::min(lateMs, recheckMs);
                self->confirmWith(next, check, notListed, lateMs - next);
                return;
            }
            self->settle(listed ? Phase::inForce : Phase::failed, listed ? QString() : notListed);
        });
    });
}

QDBusPendingCall Inhibition::ask(QDBusConnection bus, const QDBusMessage& call, int timeoutMs,
    std::function<void(const QDBusMessage& reply)> onReply)
{
    const QDBusPendingCall pending = DBusAsync::call(bus, call, timeoutMs);
    auto* watcher = new QDBusPendingCallWatcher(pending, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusMessage reply = finished->reply();
            if (reply.type() == QDBusMessage::ReplyMessage)
                onReply(reply);
            else
                settle(Phase::failed, callProblem(reply));
        });
    return pending;
}

void Inhibition::query(QDBusConnection bus, const QDBusMessage& call, std::function<void(const QDBusMessage&)> onAnswer)
{
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(bus, call, DBusTimeouts::callMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [onAnswer = std::move(onAnswer)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            onAnswer(finished->reply());
        });
}

Inhibition::Check Inhibition::oneQuery(
    QDBusConnection bus, QDBusMessage call, std::function<bool(const QDBusMessage& reply)> inForce)
{
    return [bus, call, inForce](Inhibition& context, Done done) {
        context.query(bus, call, [inForce, done](const QDBusMessage& reply) {
            done(reply.type() == QDBusMessage::ReplyMessage && inForce(reply));
        });
    };
}

QString Inhibition::callProblem(const QDBusMessage& reply)
{
    const QString name = reply.errorName();
    if (name == QDBusError::errorString(QDBusError::ServiceUnknown)
        || name == QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner")
        || name == QDBusError::errorString(QDBusError::UnknownObject)
        || name == QDBusError::errorString(QDBusError::UnknownInterface)
        || name == QDBusError::errorString(QDBusError::UnknownMethod))
        return {};
    if (name == QDBusError::errorString(QDBusError::Disconnected)
        || name == QDBusError::errorString(QDBusError::NoServer))
        return QStringLiteral("no D-Bus connection to it");
    if (name == QDBusError::errorString(QDBusError::NoReply) || name == QDBusError::errorString(QDBusError::Timeout))
        return QStringLiteral("it did not answer in time");
    return reply.errorMessage().isEmpty() ? name : reply.errorMessage();
}

} // namespace quillon::platform::linux_
