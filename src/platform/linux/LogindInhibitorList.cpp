#include "LogindInhibitorList.h"

#include "DBusTimeouts.h"

#include <QDBusArgument>
#include <QSet>

namespace quillon::platform::linux_ {

bool LogindLock::coversExactly(const QString& items) const
{
    const auto asSet = [](const QString& list) {
        const QStringList parts = list.split(u':', Qt::SkipEmptyParts);
        return QSet<QString>(parts.begin(), parts.end());
    };
    return asSet(what) == asSet(items);
}

QDBusMessage LogindInhibitorList::query()
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
        QStringLiteral("ListInhibitors"));
}

QList<LogindLock> LogindInhibitorList::parse(const QDBusMessage& reply)
{
    QList<LogindLock> locks;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()
        || reply.signature() != QLatin1String("a(ssssuu)"))
        return locks;
    const auto array = reply.arguments().constFirst().value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        LogindLock lock;
        array.beginStructure();
        array >> lock.what >> lock.who >> lock.why >> lock.mode >> lock.uid >> lock.pid;
        array.endStructure();
        locks.append(lock);
    }
    array.endArray();
    return locks;
}

QList<LogindLock> LogindInhibitorList::fetch(QDBusConnection systemBus, bool* ok)
{
    const QDBusMessage reply = systemBus.call(query(), QDBus::Block, DBusTimeouts::callMs);
    if (ok)
        *ok = reply.type() == QDBusMessage::ReplyMessage;
    return parse(reply);
}

} // namespace quillon::platform::linux_
