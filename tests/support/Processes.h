#pragma once

#include "support/Files.h"

#include <QDir>
#include <QStringList>
#include <functional>

namespace quillon::test {

// The fields of /proc/PID/stat after the command name (state, ppid, ...,
// utime at index 11, stime at 12); empty when there is no such process.
inline QStringList processStat(qint64 pid)
{
    const QString line = QString::fromUtf8(readFile(QStringLiteral("/proc/%1/stat").arg(pid)));
    if (line.isEmpty())
        return {};
    return line.mid(line.lastIndexOf(QLatin1Char(')')) + 2).split(QLatin1Char(' '));
}

// Whether a process of this pid exists (and is no zombie).
inline bool processAlive(qint64 pid)
{
    const QStringList fields = processStat(pid);
    return !fields.isEmpty() && fields[0] != QLatin1String("Z");
}

// A process's program and arguments; empty when there is no such process.
inline QStringList commandLine(qint64 pid)
{
    QStringList arguments;
    for (const QByteArray& argument : readFile(QStringLiteral("/proc/%1/cmdline").arg(pid)).split('\0'))
        arguments.append(QString::fromLocal8Bit(argument));
    arguments.removeLast(); // after the terminating NUL, or all of an empty file
    return arguments;
}

// The processes running now that pick chooses.
inline QList<qint64> processesWhere(const std::function<bool(qint64 pid)>& pick)
{
    QList<qint64> pids;
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool number = false;
        const qint64 pid = entry.toLongLong(&number);
        if (number && pick(pid))
            pids.append(pid);
    }
    return pids;
}

} // namespace quillon::test
