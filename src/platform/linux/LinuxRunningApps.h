#pragma once

#include "DesktopEntryIndex.h"
#include "LinuxProcessWatcher.h"
#include "ProcessTable.h"
#include "platform/RunningApps.h"

#include <QDBusConnection>

namespace quillon::platform::linux_ {

// Installed applications from the desktop entries, running ones from the
// user's processes in /proc (see AppProcessMatcher). Launches and exits
// are announced at once where the user's systemd manager puts applications
// into units of their own (it announces each app scope and service); the
// end of a process found running is announced at once everywhere (its
// pidfd); other launches callers find at their next poll.
class LinuxRunningApps : public RunningApps {
    Q_OBJECT
public:
    // sessionBus: where the user's systemd manager is asked for its
    // announcements; a disconnected one asks nobody.
    LinuxRunningApps(
        QStringList dataDirs, QString procRoot, const QDBusConnection& sessionBus, QObject* parent = nullptr);

    QSet<QString> running(const QStringList& ids) override;
    QList<App> installed() override;
    std::optional<App> find(const QString& id) override;
    QString appOfWindow(qint64 pid, const QString& windowClass, const QStringList& ids) override;

    DesktopEntryIndex& index() { return m_index; }

private slots:
    void onUnit(const QString& name);

private:
    DesktopEntryIndex m_index;
    ProcessTable m_processes;
    LinuxProcessWatcher m_ends; // one process of each application found running
    bool m_liveProc;            // the system's own /proc, not a captured one
    QDBusConnection m_bus;
};

} // namespace quillon::platform::linux_
