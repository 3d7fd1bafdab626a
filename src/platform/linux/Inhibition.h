#pragma once

#include "platform/PowerAssertionBackend.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <functional>

namespace quillon::platform::linux_ {

// One inhibition; destroying it ends exactly this one. Starts out
// confirming unless the route has nothing to check with.
class Inhibition : public QObject {
    Q_OBJECT
public:
    using Phase = PowerAssertionState::Phase;

    explicit Inhibition(Phase phase = Phase::confirming);

    Phase phase() const { return m_phase; }
    // Set once failed: why, for the user.
    QString problem() const { return m_problem; }

    // Called by the route that made this inhibition, once it knows.
    void settle(Phase phase, const QString& problem = {});
    // Asks query on bus after delayMs (0: at once, still asynchronously);
    // the inhibition is in force when inForce(reply) holds, else it fails
    // with notListed. A query the service does not answer fails too.
    void confirmWith(QDBusConnection bus, QDBusMessage query, int delayMs,
        std::function<bool(const QDBusMessage& reply)> inForce, QString notListed);

signals:
    // The phase left confirming (inForce or failed); emitted once.
    void settled();

private:
    Phase m_phase;
    QString m_problem;
};

} // namespace quillon::platform::linux_
