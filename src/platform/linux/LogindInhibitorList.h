#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QString>

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
    // Asks logind now (blocks for at most one bounded round trip); ok says
    // whether logind answered.
    static QList<LogindLock> fetch(QDBusConnection systemBus, bool* ok = nullptr);
};

} // namespace quillon::platform::linux_
