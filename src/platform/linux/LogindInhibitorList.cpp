#include "LogindInhibitorList.h"

#include "DBusAsync.h"
#include "DBusTimeouts.h"
#include "Inhibition.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
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

void LogindInhibitorList::ask(QDBusConnection systemBus, QObject* context, Answer done)
{
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(systemBus, query(), DBusTimeouts::callMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
        [done = std::move(done)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusMessage reply = finished->reply();
            if (reply.type() == QDBusMessage::ReplyMessage) {
                done(parse(reply), {});
                return;
            }
            const QString problem = Inhibition::callProblem(reply);
            done({}, QStringLiteral("logind: %1").arg(problem.isEmpty() ? QStringLiteral("not running") : problem));
        });
}

} // namespace quillon::platform::linux_
