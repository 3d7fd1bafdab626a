#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QStringList>

namespace quillon::test {

// (what, who, why, mode), as logind lists its locks.
using LogindLock = QStringList;

// The locks logind (or dbusmock's stand-in for it) on this bus holds now.
inline QList<LogindLock> logindLocksOn(const QDBusConnection& bus)
{
    const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(
        "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "ListInhibitors"));
    QList<LogindLock> list;
    const auto array = reply.arguments().value(0).value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        QString what, who, why, mode;
        quint32 uid = 0;
        quint32 pid = 0;
        array.beginStructure();
        array >> what >> who >> why >> mode >> uid >> pid;
        array.endStructure();
        list << LogindLock{what, who, why, mode};
    }
    array.endArray();
    return list;
}

} // namespace quillon::test
