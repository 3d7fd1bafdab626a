#pragma once

#include <QHash>
#include <QSet>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <sys/types.h>

namespace quillon::platform::linux_ {

// The processes of one user, read from /proc (or a captured copy of it).
// Processes come and go while the table is read: an entry that vanishes or
// cannot be read mid-way is left out or keeps what was read, never an error.
//
// A process's executable, command line and cgroup are read once per pid and
// start time. While the kernel's pid counter has not wrapped since the last
// read, a pid that read saw settled is the same process, and later reads
// look at nothing of it but its folder's name; every fullCheckEvery-th read,
// after a wrap, for the pids asked to be checked (a process that matched,
// whose exit must be seen before its parent reaps it) and for processes
// young when last read (a launcher moves its child into the app's scope just
// after starting it), its stat line is read again, and all of it when the
// start time or the name changed (the pid reused, an exec).
// Not thread-safe; one reader at a time.
class ProcessTable {
public:
    struct Process {
        qint64 pid = 0;
        QString exe;   // the executable's path; empty when unreadable
        QString argv0; // the command line's first two words
        QString argv1;
        QString comm;    // the kernel's name for it (at most 15 characters)
        QString cgroup;  // the unified hierarchy's path ("0::/user.slice/…/app-…scope")
        QString flatpak; // the Flatpak app id, read from the sandbox's /.flatpak-info when asked
        // Derived once when read: the ids its app scopes or services name,
        // and the last parts of exe, argv0 and argv1.
        QStringList scopeIds;
        QString exeName;
        QString argv0Name;
        QString argv1Name;
        bool viaInterpreter = false; // exe or argv0 is a shell or script interpreter
    };

    // A process read again this young may still be moved into its app's scope.
    static constexpr double settleSeconds = 5.0;
    // Every this many reads the stat lines of all processes are read again,
    // so an exec in a settled process is seen at the latest then.
    static constexpr int fullCheckEvery = 12;

    // procRoot: the folder that holds the pid folders ("/proc") and "uptime".
    explicit ProcessTable(QString procRoot = QStringLiteral("/proc"));

    // The processes whose folder belongs to uid. withFlatpak also reads
    // each one's /.flatpak-info (one more file per process). check: pids
    // whose stat line is read again whatever the last read saw.
    QList<Process> read(uid_t uid, bool withFlatpak, const QSet<qint64>& check = {});
    // One process, whoever runs it, read in full (nothing kept); none when it
    // is gone or nothing of it can be read. Safe beside a read() on another thread.
    std::optional<Process> readOne(qint64 pid, bool withFlatpak) const;

    // Processes read in full (not from what an earlier read kept), and stat
    // lines read, in all reads so far.
    int fullReads() const { return m_fullReads; }
    int statReads() const { return m_statReads; }
    // Whether the last read may be answered again as long as no process
    // started since: it saw no process young enough to change yet.
    bool settled() const { return m_settled; }
    // The pid the kernel gave last (the last field of the tree's loadavg),
    // as read when the last read began; 0 when unknown.
    qint64 lastPidSeen() const { return m_lastPid; }
    static qint64 lastPid(const QString& procRoot);

    // "name=org.blender.Blender" under [Application] in a .flatpak-info.
    static QString flatpakName(const QByteArray& info);
    // The application ids a cgroup path's app scopes or services name
    // ("app-[LAUNCHER-]ID-RANDOM.scope", dashes in the id escaped as \x2d).
    static QStringList scopeIdsOf(const QString& cgroup);

private:
    struct Known {
        qulonglong startTime = 0;
        bool settled = false;
        bool withFlatpak = false;
        bool ours = false; // its folder belongs to the uid asked: process holds what was read
        Process process;
    };

    // comm: the name from the stat line, or null to read it.
    static Process readFully(int dirFd, const QByteArray& folder, qint64 pid, const QString& comm, bool withFlatpak);

    QString m_procRoot;
    QHash<qint64, Known> m_known;
    int m_fullReads = 0;
    int m_statReads = 0;
    int m_readsSinceFullCheck = 0;
    bool m_settled = false;
    qint64 m_lastPid = 0;
};

} // namespace quillon::platform::linux_
