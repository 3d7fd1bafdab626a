#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>

namespace quillon::platform::linux_ {

// One lock as logind's ListInhibitors reports it.
struct LogindLock {
    QString what; // colon list: "sleep:idle", "handle-lid-switch", …
    QString who;
    QString why;
    QString mode; // "block", "delay" (≥ 257 also "block-weak")
    quint32 uid = 0;
    quint32 pid = 0;

    bool covers(const QString& item) const { return what.split(u':').contains(item); }
    // logind lists the items in an order of its own ("idle:sleep" comes back
    // as "sleep:idle"), so a lock is recognised by the set of its items.
    bool coversExactly(const QString& items) const;
};

// logind's list of inhibitor locks (org.freedesktop.login1.Manager.ListInhibitors).
class LogindInhibitorList {
public:
    LogindInhibitorList() = delete;

    // The call, for callers that send it themselves.
    static QDBusMessage query();
    // The locks in a reply to query(); empty for an error or a malformed reply.
    static QList<LogindLock> parse(const QDBusMessage& reply);
    // What logind said: its locks, or why there are none to tell (it did
    // not answer in time, no system bus); problem is empty when it answered.
    using Answer = std::function<void(const QList<LogindLock>& locks, const QString& problem)>;
    // Asks logind without waiting; done hears the answer once, on context's
    // thread, and never after context is gone.
    static void ask(QDBusConnection systemBus, QObject* context, Answer done);
};

} // namespace quillon::platform::linux_
