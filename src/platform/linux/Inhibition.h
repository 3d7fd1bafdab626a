#pragma once

#include "platform/PowerAssertionBackend.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QString>
#include <functional>

namespace quillon::platform::linux_ {

// One inhibition; destroying it ends exactly this one. It starts out asked
// for and not yet confirmed, and nothing in it waits: the service's answer
// and its confirmation arrive later and settle it.
class Inhibition : public QObject {
    Q_OBJECT
public:
    using Phase = PowerAssertionState::Phase;
    // Ends a check: whether the service lists the inhibition as in force.
    using Done = std::function<void(bool listed)>;
    // Asks the service, without waiting, whether the inhibition is in force;
    // its calls are made with this inhibition as their context, so that they
    // end with it.
    using Check = std::function<void(Inhibition& context, Done done)>;

    Inhibition() = default;

    Phase phase() const { return m_phase; }
    // Set once failed: why, for the user; empty when the service is not
    // there at all (nothing to report).
    QString problem() const { return m_problem; }

    // Called by the route that made this inhibition, once it knows.
    void settle(Phase phase, const QString& problem = {});
    // Accepted, but nothing can show that it holds (a portal's answer):
    // stays confirming, with why as its problem, and says so once.
    void leaveUnconfirmed(const QString& why);
    // Runs check after delayMs (0: at once, still asynchronously): in force
    // when it says so, else, for up to lateMs more, again every
    // recheckMs, and failed with notListed once that has passed.
    static constexpr int recheckMs = 250;
    void confirmWith(int delayMs, Check check, QString notListed, int lateMs = 0);

    // Sends call without waiting; a reply comes to onReply, an error (also
    // no answer within timeoutMs) fails this inhibition with its reason.
    // The call is returned for a caller that must follow it past its end.
    QDBusPendingCall ask(QDBusConnection bus, const QDBusMessage& call, int timeoutMs,
        std::function<void(const QDBusMessage& reply)> onReply);
    // Sends call without waiting; its reply or error comes to onAnswer,
    // never after this inhibition has ended.
    void query(QDBusConnection bus, const QDBusMessage& call, std::function<void(const QDBusMessage&)> onAnswer);
    // A check made of one query: listed when inForce(reply) holds.
    static Check oneQuery(
        QDBusConnection bus, QDBusMessage call, std::function<bool(const QDBusMessage& reply)> inForce);

    // The problem text for a failed call: empty when the service does not
    // run on this bus (nothing to report), else what went wrong.
    static QString callProblem(const QDBusMessage& reply);

signals:
    // The phase left confirming (inForce or failed); emitted once.
    void settled();
    // leaveUnconfirmed() was called.
    void unconfirmed();

private:
    Phase m_phase = Phase::confirming;
    QString m_problem;
};

} // namespace quillon::platform::linux_
