#include "DesktopEntryScanner.h"

#include "RegularFile.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace quillon::platform::linux_ {

namespace {

qint64 modifiedNs(const struct stat& info)
{
    return qint64{info.st_mtim.tv_sec} * 1000000000 + info.st_mtim.tv_nsec;
}

// The file's status, through a link only when it ends at a regular file.
bool regularFile(const QByteArray& path, struct stat& info)
{
    if (::lstat(path.constData(), &info) != 0)
        return false;
    if (S_ISLNK(info.st_mode) && ::stat(path.constData(), &info) != 0)
        return false;
    return S_ISREG(info.st_mode);
}

} // namespace

struct DesktopEntryScanner::Walk {
    QSet<QString> changed;
    bool listAll = false;
    quint64 generation = 0; // marks what this scan saw; the rest is forgotten
    Result result;
    int filesSeen = 0;
    // Every id met so far, usable or not: a user's Hidden=true copy hides the system's entry.
    QSet<QString> ids;
};

DesktopEntryScanner::Result DesktopEntryScanner::scan(const QStringList& dataDirs, const QSet<QString>& changedFolders)
{
    Walk walk{changedFolders, !m_scanned || changedFolders.isEmpty(), ++m_generation, {}, 0, {}};
    for (const QString& dataDir : dataDirs) {
        const QString root = dataDir + QStringLiteral("/applications");
        this->walk(walk, root, root, 0);
    }
    m_folders.removeIf([&](QHash<QString, Folder>::iterator it) { return it->seen != walk.generation; });
    m_files.removeIf([&](QHash<QString, FileState>::iterator it) { return it->seen != walk.generation; });
    m_scanned = true;
    return std::move(walk.result);
}

void DesktopEntryScanner::walk(Walk& walk, const QString& root, const QString& folder, int depth)
{
    if (depth >= maxDepth)
        return;
    bool fresh = false;
    const std::optional<Folder> here = listing(walk, folder, fresh);
    if (!here)
        return;
    walk.result.folders.append(folder);
    const QString prefix = folder.size() > root.size() ? folder.mid(root.size() + 1) + QLatin1Char('/') : QString();
    for (const Listed& file : here->files) {
        if (++walk.filesSeen > maxFiles)
            return;
        // "kde/okular.desktop" under applications/ is "kde-okular".
        QString id = prefix + file.name.chopped(8);
        id.replace(QLatin1Char('/'), QLatin1Char('-'));
        if (walk.ids.contains(id))
            continue;
        walk.ids.insert(id);
        const QString path = folder + QLatin1Char('/') + file.name;
        // A folder nobody changed holds the files it held, and a name that
        // stands for the same inode the same file: neither is looked at.
        const auto known = m_files.find(path);
        const bool same = known != m_files.end() && (!fresh || known->nameInode == file.inode);
        if (same)
            known->seen = walk.generation;
        const auto& entry = same ? known->entry : entryOf(walk, path, id, file.inode);
        if (entry)
            walk.result.entries.insert(id, *entry);
    }
    for (const QString& sub : here->subfolders)
        this->walk(walk, root, folder + QLatin1Char('/') + sub, depth + 1);
}

std::optional<DesktopEntryScanner::Folder> DesktopEntryScanner::listing(Walk& walk, const QString& folder, bool& fresh)
{
    const auto known = m_folders.find(folder);
    if (known != m_folders.end() && known->seen == walk.generation)
        return std::nullopt; // read already, under another name for it
    if (known != m_folders.end() && !walk.listAll && !walk.changed.contains(folder)) {
        known->seen = walk.generation;
        return *known;
    }
    DIR* stream = ::opendir(QFile::encodeName(folder).constData());
    if (!stream)
        return std::nullopt;
    fresh = true;
    Folder read;
    read.seen = walk.generation;
    while (const dirent* entry = ::readdir(stream)) {
        const char* name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            continue;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN) {
            struct stat info { };
            if (::fstatat(::dirfd(stream), name, &info, AT_SYMLINK_NOFOLLOW) == 0)
                type = S_ISDIR(info.st_mode) ? DT_DIR : DT_REG; // anything else is checked when read
        }
        const size_t length = std::strlen(name);
        if (type == DT_DIR)
            read.subfolders.append(QFile::decodeName(name));
        else if (length > 8 && std::strcmp(name + length - 8, ".desktop") == 0)
            read.files.append({QFile::decodeName(name), entry->d_ino});
        if (read.files.size() + read.subfolders.size() > maxFiles)
            break;
    }
    ::closedir(stream);
    // Names in one folder never share an id; across folders the order decides.
    read.subfolders.sort();
    m_folders.insert(folder, read);
    return read;
}

const std::optional<DesktopEntry>& DesktopEntryScanner::entryOf(
    Walk& walk, const QString& path, const QString& id, ino_t nameInode)
{
    static const std::optional<DesktopEntry> none;
    const QByteArray local = QFile::encodeName(path);
    struct stat info { };
    if (!regularFile(local, info) || info.st_size > maxEntryBytes)
        return none;
    const auto known = m_files.find(path);
    if (known != m_files.end() && known->device == info.st_dev && known->inode == info.st_ino
        && known->size == info.st_size && known->modifiedNs == modifiedNs(info)) {
        known->nameInode = nameInode;
        known->seen = walk.generation;
        return known->entry;
    }
    FileState state{nameInode, info.st_dev, info.st_ino, info.st_size, modifiedNs(info), walk.generation, std::nullopt};
    ++walk.result.parsed;
    if (const auto text = RegularFile::read(path, maxEntryBytes))
        state.entry = DesktopEntry::parse(*text, id);
    return m_files.insert(path, std::move(state))->entry;
}

} // namespace quillon::platform::linux_
