#include "DesktopEntryIndex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace quillon::platform::linux_ {

namespace {

constexpr qint64 kMaxEntryBytes = 64 * 1024;
constexpr int kMaxDepth = 4;

} // namespace

DesktopEntryIndex::DesktopEntryIndex(QStringList dataDirs, QObject* parent)
    : QObject(parent)
    , m_dataDirs(std::move(dataDirs))
{
    const auto stale = [this] {
        m_stale = true;
    };
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, stale);
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

const QHash<QString, DesktopEntry>& DesktopEntryIndex::entries()
{
    if (m_stale)
        read();
    return m_entries;
}

const DesktopEntry* DesktopEntryIndex::find(const QString& id)
{
    const auto& all = entries();
    const auto found = all.constFind(id);
    return found == all.constEnd() ? nullptr : &found.value();
}

void DesktopEntryIndex::read()
{
    m_stale = false;
    ++m_reads;
    m_entries.clear();
    m_seen.clear();
    if (!m_watcher.directories().isEmpty())
        m_watcher.removePaths(m_watcher.directories());
    for (const QString& dataDir : std::as_const(m_dataDirs)) {
        const QString root = dataDir + QStringLiteral("/applications");
        scan(root, root);
    }
}

void DesktopEntryIndex::scan(const QString& root, const QString& folder)
{
    const QDir dir(folder);
    if (!dir.exists() || QDir(root).relativeFilePath(folder).count(QLatin1Char('/')) >= kMaxDepth)
        return;
    m_watcher.addPath(folder);
    const QFileInfoList files = dir.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& file : files) {
        if (file.isDir()) {
            if (!file.isSymLink())
                scan(root, file.filePath());
            continue;
        }
        if (file.suffix() != QLatin1String("desktop") || file.size() > kMaxEntryBytes)
            continue;
        // "kde/okular.desktop" under applications/ is "kde-okular".
        QString id = QDir(root).relativeFilePath(file.filePath());
        id.chop(8);
        id.replace(QLatin1Char('/'), QLatin1Char('-'));
        if (m_seen.contains(id))
            continue;
        m_seen.insert(id);
        QFile text(file.filePath());
        if (!text.open(QIODevice::ReadOnly))
            continue;
        if (auto entry = DesktopEntry::parse(text.read(kMaxEntryBytes), id))
            m_entries.insert(id, std::move(*entry));
    }
}

} // namespace quillon::platform::linux_
