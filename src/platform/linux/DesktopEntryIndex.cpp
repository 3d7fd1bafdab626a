#include "DesktopEntryIndex.h"

#include <QDir>
#include <QMutex>
#include <thread>

namespace quillon::platform::linux_ {

// Where a read delivers its result: only while the index is there, under
// the lock the index takes to leave.
struct DesktopEntryIndex::Mailbox {
    QMutex mutex;
    DesktopEntryIndex* target = nullptr;
};

DesktopEntryIndex::DesktopEntryIndex(QStringList dataDirs, QObject* parent)
    : QObject(parent)
    , m_dataDirs(std::move(dataDirs))
    , m_mailbox(std::make_shared<Mailbox>())
{
    m_mailbox->target = this;
    m_settle.setSingleShot(true);
    m_settle.setInterval(settleMs);
    connect(&m_settle, &QTimer::timeout, this, &DesktopEntryIndex::startRead);
    // Not restarted by each change: a folder changing every second is still read.
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this](const QString& folder) {
        m_changedFolders.insert(folder);
        if (!m_settle.isActive())
            m_settle.start();
    });
    startRead();
}

DesktopEntryIndex::~DesktopEntryIndex()
{
    QMutexLocker lock(&m_mailbox->mutex);
    m_mailbox->target = nullptr;
}

QStringList DesktopEntryIndex::fromEnvironment()
{
    QString home = qEnvironmentVariable("XDG_DATA_HOME");
    if (home.isEmpty())
        home = QDir::homePath() + QStringLiteral("/.local/share");
    QString dirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dirs.isEmpty())
        dirs = QStringLiteral("/usr/local/share:/usr/share");
    return QStringList{home} + dirs.split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

const DesktopEntry* DesktopEntryIndex::find(const QString& id) const
{
    const auto found = m_entries.constFind(id);
    return found == m_entries.constEnd() ? nullptr : &found.value();
}

void DesktopEntryIndex::startRead()
{
    if (m_reading)
        return; // the changes wait for the read under way to finish
    m_reading = true;
    // Detached: nothing waits for a read, quitting least of all.
    std::thread([scanner = m_scanner, mailbox = m_mailbox, dataDirs = m_dataDirs,
                    changed = std::exchange(m_changedFolders, {})] {
        const DesktopEntryScanner::Result result = scanner->scan(dataDirs, changed);
        QMutexLocker lock(&mailbox->mutex);
        if (DesktopEntryIndex* target = mailbox->target) {
            QMetaObject::invokeMethod(
                target, [target, result] { target->finishRead(result); }, Qt::QueuedConnection);
        }
    }).detach();
}

void DesktopEntryIndex::finishRead(const DesktopEntryScanner::Result& result)
{
    m_reading = false;
    ++m_reads;
    m_parsed += result.parsed;
    m_entries = result.entries;
    // Watch what was read: new folders added, gone ones dropped.
    const QSet<QString> now(result.folders.begin(), result.folders.end());
    const QStringList watched = m_watcher.directories();
    QStringList gone;
    for (const QString& folder : watched) {
        if (!now.contains(folder))
            gone.append(folder);
    }
    if (!gone.isEmpty())
        m_watcher.removePaths(gone);
    const QSet<QString> kept(watched.begin(), watched.end());
    QStringList added;
    for (const QString& folder : result.folders) {
        if (!kept.contains(folder))
            added.append(folder);
    }
    if (!added.isEmpty())
        m_watcher.addPaths(added);
    emit changed();
    if (!m_changedFolders.isEmpty() && !m_settle.isActive())
        m_settle.start();
}

} // namespace quillon::platform::linux_
