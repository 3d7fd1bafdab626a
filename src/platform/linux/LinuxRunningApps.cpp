#include "LinuxRunningApps.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QPromise>
#include <QThreadPool>
#include <algorithm>
#include <unistd.h>

namespace quillon::platform::linux_ {

namespace {

const QString kSystemd = QStringLiteral("org.freedesktop.systemd1");
const QString kSystemdPath = QStringLiteral("/org/freedesktop/systemd1");
const QString kSystemdManager = QStringLiteral("org.freedesktop.systemd1.Manager");

RunningApps::App appOf(const DesktopEntry& entry)
{
    return {entry.id, entry.name, entry.icon, entry.germanName};
}

} // namespace

LinuxRunningApps::LinuxRunningApps(
    QStringList dataDirs, QString procRoot, const QDBusConnection& sessionBus, QObject* parent)
    : RunningApps(parent)
    , m_index(std::move(dataDirs))
    , m_table(std::make_shared<Table>())
    , m_procRoot(procRoot)
    , m_liveProc(procRoot == QLatin1String("/proc"))
    , m_bus(sessionBus)
{
    m_table->processes = ProcessTable(procRoot);
    connect(&m_answer, &QFutureWatcherBase::finished, this, &LinuxRunningApps::onAnswer);
    connect(&m_ends, &LinuxProcessWatcher::exited, this, &LinuxRunningApps::announce);
    // Newly read entries may name an application that already runs.
    connect(&m_index, &DesktopEntryIndex::changed, this, &LinuxRunningApps::announce);
    if (!m_bus.isConnected())
        return;
    for (const char* signal : {"UnitNew", "UnitRemoved"}) {
        m_bus.connect(kSystemd, kSystemdPath, kSystemdManager, QLatin1String(signal), this, SLOT(onUnit(QString)));
    }
    // The manager sends those signals only to clients that subscribed.
    m_bus.asyncCall(QDBusMessage::createMethodCall(kSystemd, kSystemdPath, kSystemdManager, "Subscribe"));
}

void LinuxRunningApps::onUnit(const QString& name)
{
    if (name.startsWith(QLatin1String("app-")) || name.startsWith(QLatin1String("snap.")))
        announce();
}

void LinuxRunningApps::announce()
{
    m_announcedSince = true;
    emit changed();
}

LinuxRunningApps::Ask LinuxRunningApps::askFor(const QStringList& ids) const
{
    Ask ask;
    for (const QString& id : ids) {
        ask.wanted.emplace_back(id, AppProcessMatcher(id, m_index.find(id)));
        ask.withFlatpak = ask.withFlatpak || ask.wanted.back().second.wantsFlatpak();
    }
    if (m_last)
        ask.check = QSet<qint64>(m_last->pids.cbegin(), m_last->pids.cend());
    return ask;
}

LinuxRunningApps::Answer LinuxRunningApps::match(Table& table, const QStringList& ids, Ask ask)
{
    Answer answer;
    answer.ids = ids;
    if (ask.wanted.empty())
        return answer;
    const QMutexLocker locked(&table.lock);
    const QList<ProcessTable::Process> processes = table.processes.read(::getuid(), ask.withFlatpak, ask.check);
    answer.lastPid = table.processes.lastPidSeen();
    answer.settled = table.processes.settled();
    for (const ProcessTable::Process& process : processes) {
        for (auto it = ask.wanted.begin(); it != ask.wanted.end();) {
            if (it->second.matches(process)) {
                answer.found.insert(it->first);
                answer.pids.append(process.pid);
                it = ask.wanted.erase(it);
            } else {
                ++it;
            }
        }
        if (ask.wanted.empty())
            break;
    }
    return answer;
}

void LinuxRunningApps::watch(const QList<qint64>& pids)
{
    if (!m_liveProc)
        return;
    for (const qint64 pid : pids) {
        QString gone;
        m_ends.watch(pid, gone);
    }
}

QSet<QString> LinuxRunningApps::running(const QStringList& ids)
{
    const Answer answer = match(*m_table, ids, askFor(ids));
    watch(answer.pids);
    return answer.found;
}

void LinuxRunningApps::lookUp(const QStringList& ids)
{
    if (m_answer.isRunning()) {
        m_nextAsk = ids;
        return;
    }
    if (m_last && !m_announcedSince && m_last->settled && m_last->lastPid != 0 && m_last->ids == ids
        && ProcessTable::lastPid(m_procRoot) == m_last->lastPid) {
        emit found(m_last->found);
        return;
    }
    m_announcedSince = false;
    auto promise = std::make_shared<QPromise<Answer>>();
    promise->start();
    m_answer.setFuture(promise->future());
    QThreadPool::globalInstance()->start([promise, table = m_table, ids, ask = askFor(ids)]() mutable {
        promise->addResult(match(*table, ids, std::move(ask)));
        promise->finish();
    });
}

void LinuxRunningApps::onAnswer()
{
    const Answer answer = m_answer.future().resultCount() > 0 ? m_answer.result() : Answer{};
    m_last = answer;
    watch(answer.pids);
    emit found(answer.found);
    if (m_nextAsk) {
        const QStringList ids = *std::exchange(m_nextAsk, std::nullopt);
        lookUp(ids);
    }
}

QList<RunningApps::App> LinuxRunningApps::installed()
{
    QList<App> apps;
    for (const DesktopEntry& entry : m_index.entries()) {
        if (entry.shown)
            apps.append(appOf(entry));
    }
    std::sort(apps.begin(), apps.end(), [](const App& a, const App& b) {
        const int byName = QString::localeAwareCompare(a.name, b.name);
        return byName != 0 ? byName < 0 : a.id < b.id;
    });
    return apps;
}

std::optional<RunningApps::App> LinuxRunningApps::find(const QString& id)
{
    const DesktopEntry* entry = m_index.find(id);
    return entry ? std::optional(appOf(*entry)) : std::nullopt;
}

QString LinuxRunningApps::appOfWindow(qint64 pid, const QString& windowClass, const QStringList& ids)
{
    // One process: its sandbox is read too, whether any id needs it or not.
    // Read apart from the table the scans keep, which a worker thread may be using.
    const auto process = pid > 0 ? ProcessTable(m_procRoot).readOne(pid, true) : std::nullopt;
    for (const QString& id : ids) {
        const DesktopEntry* entry = m_index.find(id);
        const QString wmClass = entry ? entry->wmClass : QString();
        if (!windowClass.isEmpty()
            && (windowClass.compare(wmClass, Qt::CaseInsensitive) == 0
                || windowClass.compare(id.section(QLatin1Char('.'), -1), Qt::CaseInsensitive) == 0))
            return id;
        if (process && AppProcessMatcher(id, entry).matches(*process))
            return id;
    }
    return {};
}

} // namespace quillon::platform::linux_
