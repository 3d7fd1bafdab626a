#pragma once

#include "AppProcessMatcher.h"
#include "DesktopEntryIndex.h"
#include "LinuxProcessWatcher.h"
#include "ProcessTable.h"
#include "platform/RunningApps.h"

#include <QDBusConnection>
#include <QFutureWatcher>
#include <QMutex>
#include <memory>
#include <optional>
#include <vector>

namespace quillon::platform::linux_ {

// Installed applications from the desktop entries, running ones from the
// user's processes in /proc (see AppProcessMatcher). Launches and exits
// are announced at once where the user's systemd manager puts applications
// into units of their own (it announces each app scope and service); the
// end of a process found running is announced at once everywhere (its
// pidfd); other launches callers find at their next poll. lookUp() reads
// /proc on the global thread pool, one read at a time; asks that come
// while one runs are answered by one more read after it. An ask like the
// last one is answered as before without reading when no process started
// since (the kernel's last pid is the same), the last read saw none young
// enough to change and nothing was announced meanwhile.
class LinuxRunningApps : public RunningApps {
    Q_OBJECT
public:
    // sessionBus: where the user's systemd manager is asked for its
    // announcements; a disconnected one asks nobody.
    LinuxRunningApps(
        QStringList dataDirs, QString procRoot, const QDBusConnection& sessionBus, QObject* parent = nullptr);

    QSet<QString> running(const QStringList& ids) override;
    void lookUp(const QStringList& ids) override;
    QList<App> installed() override;
    std::optional<App> find(const QString& id) override;
    QString appOfWindow(qint64 pid, const QString& windowClass, const QStringList& ids) override;

    DesktopEntryIndex& index() { return m_index; }

private slots:
    void onUnit(const QString& name);

private:
    struct Table {
        QMutex lock; // held by the one read at a time
        ProcessTable processes;
    };
    struct Answer {
        QSet<QString> found;
        QList<qint64> pids; // one process of each application found
        QStringList ids;    // what was asked
        qint64 lastPid = 0; // the kernel's last pid when the read began; 0: unknown
        bool settled = false;
    };
    // The matchers of the ids asked, copied from the entries, so a read on
    // another thread never sees the index change under it.
    struct Ask {
        std::vector<std::pair<QString, AppProcessMatcher>> wanted;
        bool withFlatpak = false;
        QSet<qint64> check; // the processes found last time: whether they still run is read again
    };
    Ask askFor(const QStringList& ids) const;
    static Answer match(Table& table, const QStringList& ids, Ask ask);
    void watch(const QList<qint64>& pids);
    void onAnswer();
    void announce();

    DesktopEntryIndex m_index;
    std::shared_ptr<Table> m_table; // shared with a read still running after this is gone
    QFutureWatcher<Answer> m_answer;
    std::optional<QStringList> m_nextAsk;
    std::optional<Answer> m_last;    // the last read's, to answer again
    bool m_announcedSince = false; // changed() went out after the last read began
    LinuxProcessWatcher m_ends; // one process of each application found running
    QString m_procRoot;
    bool m_liveProc;            // the system's own /proc, not a captured one
    QDBusConnection m_bus;
};

} // namespace quillon::platform::linux_
