#include "ProcessTable.h"

#include <QFile>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillon::platform::linux_ {

namespace {

constexpr qsizetype kReadLimit = 8192;

// Up to kReadLimit bytes of a file under the folder dirFd names.
QByteArray readSmall(int dirFd, const QByteArray& path)
{
    const int fd = ::openat(dirFd, path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return {};
    QByteArray bytes(kReadLimit, Qt::Uninitialized);
    qsizetype total = 0;
    while (total < kReadLimit) {
        const ssize_t got = ::read(fd, bytes.data() + total, static_cast<size_t>(kReadLimit - total));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        total += got;
    }
    ::close(fd);
    bytes.truncate(total);
    return bytes;
}

QString readLink(int dirFd, const QByteArray& path)
{
    char target[4096];
    const ssize_t length = ::readlinkat(dirFd, path.constData(), target, sizeof target);
    if (length <= 0)
        return {};
    QString exe = QString::fromLocal8Bit(target, length);
    // A program replaced while it runs (an update) reads "… (deleted)".
    if (exe.endsWith(QLatin1String(" (deleted)")))
        exe.chop(10);
    return exe;
}

QString unifiedCgroup(const QByteArray& text)
{
    for (const QByteArray& line : text.split('\n')) {
        if (line.startsWith("0::"))
            return QString::fromUtf8(line.mid(3));
    }
    // Only the old hierarchies: systemd's own line names the unit too.
    for (const QByteArray& line : text.split('\n')) {
        if (line.contains(":name=systemd:"))
            return QString::fromUtf8(line.mid(line.indexOf(":name=systemd:") + 14));
    }
    return {};
}

QString baseName(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

// systemd's unit-name escapes: "\x2d" and the like.
QString unescapeUnit(const QString& text)
{
    if (!text.contains(QLatin1String("\\x")))
        return text;
    QString out;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\') && i + 3 < text.size() && text[i + 1] == QLatin1Char('x')) {
            bool ok = false;
            const int code = text.mid(i + 2, 2).toInt(&ok, 16);
            if (ok) {
                out.append(QChar(code));
                i += 3;
                continue;
            }
        }
        out.append(text[i]);
    }
    return out;
}

// Interpreters whose first argument is the script that is the program.
bool isInterpreter(const QString& name)
{
    static const QStringList names{"sh", "bash", "dash", "zsh", "ksh", "perl", "ruby", "node"};
    return names.contains(name) || name.startsWith(QLatin1String("python"));
}

// The name and start time (clock ticks after boot) of a stat line
// ("PID (NAME) STATE PPID … STARTTIME …"); no start time when it is not one.
struct StatLine {
    QString comm;
    qulonglong startTime = 0;
    bool ended = false; // a zombie: exited, not yet reaped by its parent
};

StatLine parseStat(const QByteArray& line)
{
    StatLine stat;
    const qsizetype open = line.indexOf('(');
    const qsizetype close = line.lastIndexOf(')');
    if (open < 0 || close < open)
        return stat;
    stat.comm = QString::fromUtf8(line.mid(open + 1, close - open - 1));
    const char state = close + 2 < line.size() ? line.at(close + 2) : '?';
    stat.ended = state == 'Z' || state == 'X';
    // The start time is the 20th field after the name.
    qsizetype at = close + 1;
    for (int field = 1; field < 20 && at >= 0; ++field)
        at = line.indexOf(' ', at + 1);
    if (at < 0)
        return stat;
    stat.startTime = std::strtoull(line.constData() + at + 1, nullptr, 10);
    return stat;
}

// Seconds since boot, from the tree's own uptime; 0 when unreadable.
double uptimeOf(const QByteArray& root)
{
    const QByteArray text = readSmall(AT_FDCWD, root + "/uptime");
    return std::strtod(text.constData(), nullptr);
}

} // namespace

ProcessTable::ProcessTable(QString procRoot)
    : m_procRoot(std::move(procRoot))
{
}

QString ProcessTable::flatpakName(const QByteArray& info)
{
    bool inApplication = false;
    for (const QByteArray& raw : info.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('['))
            inApplication = line == "[Application]";
        else if (inApplication && line.startsWith("name="))
            return QString::fromUtf8(line.mid(5).trimmed());
    }
    return {};
}

qint64 ProcessTable::lastPid(const QString& procRoot)
{
    // "0.10 0.05 0.01 1/123 4567"
    const QByteArray text = readSmall(AT_FDCWD, QFile::encodeName(procRoot) + "/loadavg").trimmed();
    return text.mid(text.lastIndexOf(' ') + 1).toLongLong();
}

QStringList ProcessTable::scopeIdsOf(const QString& cgroup)
{
    QStringList ids;
    for (const QString& unit : cgroup.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (!unit.startsWith(QLatin1String("app-")))
            continue;
        QString body = unit.mid(4);
        if (body.endsWith(QLatin1String(".scope")))
            body.chop(6);
        else if (body.endsWith(QLatin1String(".service")))
            body.chop(8);
        else
            continue;
        body = body.section(QLatin1Char('@'), 0, 0);
        // Dashes inside the id are escaped, so the plain ones separate the
        // launcher, the id and the random part.
        for (const QString& word : body.split(QLatin1Char('-'), Qt::SkipEmptyParts))
            ids.append(unescapeUnit(word));
    }
    return ids;
}

ProcessTable::Process ProcessTable::readFully(
    int dirFd, const QByteArray& folder, qint64 pid, const QString& comm, bool withFlatpak)
{
    Process process;
    process.pid = pid;
    process.exe = readLink(dirFd, folder + "/exe");
    const QList<QByteArray> argv = readSmall(dirFd, folder + "/cmdline").split('\0');
    process.argv0 = QString::fromLocal8Bit(argv.value(0));
    process.argv1 = QString::fromLocal8Bit(argv.value(1));
    process.comm = comm.isNull() ? QString::fromUtf8(readSmall(dirFd, folder + "/comm")).trimmed() : comm;
    process.cgroup = unifiedCgroup(readSmall(dirFd, folder + "/cgroup"));
    if (withFlatpak)
        process.flatpak = flatpakName(readSmall(dirFd, folder + "/root/.flatpak-info"));
    process.scopeIds = scopeIdsOf(process.cgroup);
    process.exeName = baseName(process.exe);
    process.argv0Name = baseName(process.argv0);
    process.argv1Name = baseName(process.argv1);
    process.viaInterpreter = isInterpreter(process.exeName) || isInterpreter(process.argv0Name);
    return process;
}

QList<ProcessTable::Process> ProcessTable::read(uid_t uid, bool withFlatpak, const QSet<qint64>& check)
{
    QList<Process> processes;
    // Before the listing: a process started while it runs shows as a newer pid next time.
    const qint64 previousLastPid = std::exchange(m_lastPid, lastPid(m_procRoot));
    // No wrap since the last read: none of the pids it saw was given out again.
    const bool trustKnown
        = previousLastPid > 0 && m_lastPid >= previousLastPid && ++m_readsSinceFullCheck < fullCheckEvery;
    if (!trustKnown)
        m_readsSinceFullCheck = 0;
    m_settled = false;
    const QByteArray root = QFile::encodeName(m_procRoot);
    DIR* dir = ::opendir(root.constData());
    if (!dir)
        return processes;
    bool settled = true;
    const int dirFd = ::dirfd(dir);
    const double uptime = uptimeOf(root);
    const double ticks = static_cast<double>(::sysconf(_SC_CLK_TCK));
    QHash<qint64, Known> known;
    known.reserve(m_known.size());
    while (const dirent* entry = ::readdir(dir)) {
        char* end = nullptr;
        const long long pid = std::strtoll(entry->d_name, &end, 10);
        if (pid <= 0 || !end || *end != '\0')
            continue;
        const auto before = m_known.constFind(pid);
        const bool seen = before != m_known.cend();
        Known now;
        if (seen && trustKnown && before->settled && (before->withFlatpak || !withFlatpak) && !check.contains(pid)) {
            now = *before;
        } else {
            const QByteArray folder(entry->d_name);
            struct stat info { };
            if (::fstatat(dirFd, folder.constData(), &info, 0) != 0)
                continue;
            // A captured tree may have no stat line: then nothing is kept.
            const StatLine stat = parseStat(readSmall(dirFd, folder + "/stat"));
            ++m_statReads;
            // Its exit is told before its parent reaps it: it runs no more.
            if (stat.ended)
                continue;
            now.startTime = stat.startTime;
            now.ours = info.st_uid == uid;
            now.withFlatpak = withFlatpak;
            now.settled = uptime - static_cast<double>(stat.startTime) / ticks >= settleSeconds;
            if (!now.ours) {
                // Another user's: only remembered, so it is not looked at again.
            } else if (stat.startTime != 0 && seen && before->startTime == stat.startTime
                && before->process.comm == stat.comm && before->settled && (before->withFlatpak || !withFlatpak)) {
                now.process = before->process;
            } else {
                now.process = readFully(dirFd, folder, pid, stat.startTime != 0 ? stat.comm : QString(), withFlatpak);
                ++m_fullReads;
            }
        }
        settled = settled && now.settled;
        if (now.startTime != 0)
            known.insert(pid, now);
        // Gone before anything could be read (or a kernel thread): nothing to match.
        const Process& process = now.process;
        if (!now.ours || (process.exe.isEmpty() && process.argv0.isEmpty() && process.comm.isEmpty()))
            continue;
        processes.append(process);
    }
    ::closedir(dir);
    m_known = std::move(known);
    m_settled = settled;
    return processes;
}

std::optional<ProcessTable::Process> ProcessTable::readOne(qint64 pid, bool withFlatpak) const
{
    const QByteArray folder = QFile::encodeName(m_procRoot) + '/' + QByteArray::number(pid);
    Process process = readFully(AT_FDCWD, folder, pid, QString(), withFlatpak);
    // Gone before anything could be read (or a kernel thread): nothing to match.
    if (process.exe.isEmpty() && process.argv0.isEmpty() && process.comm.isEmpty())
        return std::nullopt;
    return process;
}

} // namespace quillon::platform::linux_
