#include "ProcessTable.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon::platform::linux_ {

namespace {

constexpr qsizetype kReadLimit = 8192;

QByteArray readSmall(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
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

QString readLink(const QByteArray& path)
{
    char target[4096];
    const ssize_t length = ::readlink(path.constData(), target, sizeof target);
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

QList<ProcessTable::Process> ProcessTable::read(uid_t uid, bool withFlatpak) const
{
    QList<Process> processes;
    const QByteArray root = QFile::encodeName(m_procRoot);
    DIR* dir = ::opendir(root.constData());
    if (!dir)
        return processes;
    while (const dirent* entry = ::readdir(dir)) {
        char* end = nullptr;
        const long long pid = std::strtoll(entry->d_name, &end, 10);
        if (pid <= 0 || !end || *end != '\0')
            continue;
        const QByteArray folder = root + '/' + entry->d_name;
        struct stat info { };
        if (::stat(folder.constData(), &info) != 0 || info.st_uid != uid)
            continue;
        if (auto process = readOne(pid, withFlatpak))
            processes.append(*process);
    }
    ::closedir(dir);
    return processes;
}

std::optional<ProcessTable::Process> ProcessTable::readOne(qint64 pid, bool withFlatpak) const
{
    const QByteArray folder = QFile::encodeName(m_procRoot) + '/' + QByteArray::number(pid);
    Process process;
    process.pid = pid;
    process.exe = readLink(folder + "/exe");
    const QList<QByteArray> argv = readSmall(folder + "/cmdline").split('\0');
    process.argv0 = QString::fromLocal8Bit(argv.value(0));
    process.argv1 = QString::fromLocal8Bit(argv.value(1));
    process.comm = QString::fromUtf8(readSmall(folder + "/comm")).trimmed();
    process.cgroup = unifiedCgroup(readSmall(folder + "/cgroup"));
    if (withFlatpak)
        process.flatpak = flatpakName(readSmall(folder + "/root/.flatpak-info"));
    // Gone before anything could be read (or a kernel thread): nothing to match.
    if (process.exe.isEmpty() && process.argv0.isEmpty() && process.comm.isEmpty())
        return std::nullopt;
    return process;
}

} // namespace quillon::platform::linux_
