#include "LinuxRunningApps.h"

#include "AppProcessMatcher.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <algorithm>
#include <unistd.h>
#include <vector>

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
    , m_processes(procRoot)
    , m_liveProc(procRoot == QLatin1String("/proc"))
    , m_bus(sessionBus)
{
    connect(&m_ends, &LinuxProcessWatcher::exited, this, &RunningApps::changed);
    // Newly read entries may name an application that already runs.
    connect(&m_index, &DesktopEntryIndex::changed, this, &RunningApps::changed);
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
        emit changed();
}

QSet<QString> LinuxRunningApps::running(const QStringList& ids)
{
    QSet<QString> found;
    if (ids.isEmpty())
        return found;
    std::vector<std::pair<QString, AppProcessMatcher>> wanted;
    bool withFlatpak = false;
    for (const QString& id : ids) {
        wanted.emplace_back(id, AppProcessMatcher(id, m_index.find(id)));
        withFlatpak = withFlatpak || wanted.back().second.wantsFlatpak();
    }
    for (const ProcessTable::Process& process : m_processes.read(::getuid(), withFlatpak)) {
        for (auto it = wanted.begin(); it != wanted.end();) {
            if (it->second.matches(process)) {
                found.insert(it->first);
                QString gone;
                if (m_liveProc)
                    m_ends.watch(process.pid, gone);
                it = wanted.erase(it);
            } else {
                ++it;
            }
        }
        if (wanted.empty())
            break;
    }
    return found;
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
    const auto process = pid > 0 ? m_processes.readOne(pid, true) : std::nullopt;
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
