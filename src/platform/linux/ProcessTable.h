#pragma once

#include <QList>
#include <QString>
#include <optional>
#include <sys/types.h>

namespace quillon::platform::linux_ {

// The processes of one user, read from /proc (or a captured copy of it).
// Processes come and go while the table is read: an entry that vanishes or
// cannot be read mid-way is left out or keeps what was read, never an error.
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
    };

    // procRoot: the folder that holds the pid folders ("/proc").
    explicit ProcessTable(QString procRoot = QStringLiteral("/proc"));

    // The processes whose folder belongs to uid. withFlatpak also reads
    // each one's /.flatpak-info (one more file per process).
    QList<Process> read(uid_t uid, bool withFlatpak) const;
    // One process, whoever runs it; none when it is gone or nothing of it can be read.
    std::optional<Process> readOne(qint64 pid, bool withFlatpak) const;

    // "name=org.blender.Blender" under [Application] in a .flatpak-info.
    static QString flatpakName(const QByteArray& info);

private:
    QString m_procRoot;
};

} // namespace quillon::platform::linux_
