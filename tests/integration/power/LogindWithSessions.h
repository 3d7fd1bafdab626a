#pragma once

#include "support/BusService.h"
#include "support/RealLogind.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <memory>

namespace quillon::test {

// The real logind with real sessions in it, for desktop services that act
// only from a logind session of their own (PowerDevil takes the lid only
// then). logind creates a session through systemd, which a CI machine does
// not run as PID 1: a stand-in answers for it (logind_session.py systemd)
// and places each session's processes in a cgroup of this object's, below
// the test's own, which logind reads as its whole hierarchy. Root and a
// writable cgroup2 file system are needed (canRun()). A service in a session
// must end before this object goes, so that its cgroup can be removed.
class LogindWithSessions {
public:
    explicit LogindWithSessions(PrivateBus& system)
    {
        m_cgroup = newCgroup();
        if (m_cgroup.isEmpty())
            return;
        m_systemd = std::make_unique<BusService>(QUILLON_PYTHON,
            QStringList{QUILLON_LOGIND_SESSION, "systemd", m_cgroup}, system, "org.freedesktop.systemd1");
        if (m_systemd->started())
            m_logind = std::make_unique<RealLogind>(
                system, QStringList{QUILLON_PYTHON, QUILLON_LOGIND_SESSION, "enter", m_cgroup, m_dev.path()});
    }
    ~LogindWithSessions()
    {
        m_logind.reset();
        m_systemd.reset();
        removeCgroups();
    }

    static bool canRun() { return RealLogind::canRun() && !cgroupRoot().isEmpty(); }
    bool started() const { return m_logind && m_logind->started(); }
    const RealLogind& logind() const { return *m_logind; }
    // unshare's arguments that run program as the leader of a new graphical
    // session, in logind's /run.
    QStringList inSession(const QString& program, const QStringList& args) const
    {
        return m_logind->inItsRun(QUILLON_PYTHON, QStringList{QUILLON_LOGIND_SESSION, "session", program} + args);
    }

private:
    // This process's own cgroup in the cgroup2 hierarchy; empty without one.
    static QString cgroupRoot()
    {
        QFile mounts("/proc/self/mounts");
        QFile own("/proc/self/cgroup");
        if (!mounts.open(QIODevice::ReadOnly) || !own.open(QIODevice::ReadOnly))
            return {};
        QString mountPoint;
        for (const QByteArray& line : mounts.readAll().split('\n')) {
            const QList<QByteArray> fields = line.split(' ');
            if (fields.size() > 3 && fields[2] == "cgroup2" && fields[3].startsWith("rw"))
                mountPoint = QString::fromUtf8(fields[1]);
        }
        for (const QByteArray& line : own.readAll().split('\n'))
            if (line.startsWith("0::") && !mountPoint.isEmpty())
                return QDir::cleanPath(mountPoint + "/" + QString::fromUtf8(line.mid(3)));
        return {};
    }
    static QString newCgroup()
    {
        const QString path
            = cgroupRoot() + "/quillon-test-" + QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);
        return QDir().mkdir(path) ? path : QString();
    }
    // Deepest first: a cgroup goes only once it has no children.
    void removeCgroups()
    {
        if (m_cgroup.isEmpty())
            return;
        QStringList all{m_cgroup};
        for (QDirIterator it(m_cgroup, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories); it.hasNext();)
            all << it.next();
        std::sort(all.begin(), all.end(), [](const QString& a, const QString& b) { return a.size() > b.size(); });
        for (const QString& path : all)
            waitUntil([&] { return QDir().rmdir(path); });
    }

    QTemporaryDir m_dev; // /dev for logind: no virtual terminals
    QString m_cgroup;
    std::unique_ptr<BusService> m_systemd;
    std::unique_ptr<RealLogind> m_logind;
};

} // namespace quillon::test
