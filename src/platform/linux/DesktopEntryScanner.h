#pragma once

#include "DesktopEntry.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <optional>
#include <sys/types.h>

namespace quillon::platform::linux_ {

// Reads the applications folders of the XDG data directories into desktop
// entries, remembering what it read so that a later scan lists again only
// the folders said to have changed, and in them looks again only at names
// that now stand for another inode (a new or replaced file: installers
// write a new file and rename it over the old) and parses again only what
// then differs in inode, size or modification time.
//
// Blocking (a folder may sit on a slow or hung mount): run it off the main
// thread, one scan at a time. Only regular files are ever opened, and
// without blocking; a link is followed only to a regular file, never to a
// FIFO, a device or a folder.
class DesktopEntryScanner {
public:
    static constexpr qint64 maxEntryBytes = 64 * 1024;
    static constexpr int maxDepth = 4;
    // Files looked at per scan, all folders together.
    static constexpr int maxFiles = 50000;

    struct Result {
        QHash<QString, DesktopEntry> entries; // by id, the earlier data directory winning
        QStringList folders;                  // every folder read, for watching
        int parsed = 0;                       // files parsed in this scan
    };

    // changedFolders: the folders to list again; empty lists every folder.
    // A folder not listed before is always listed.
    Result scan(const QStringList& dataDirs, const QSet<QString>& changedFolders);

private:
    struct FileState {
        ino_t nameInode = 0; // as the folder's listing gives it: of the name itself, a link or the file
        dev_t device = 0;
        ino_t inode = 0;
        qint64 size = -1;
        qint64 modifiedNs = -1;
        quint64 seen = 0; // the last scan that saw it
        std::optional<DesktopEntry> entry;
    };
    struct Listed {
        QString name;
        ino_t inode = 0;
    };
    struct Folder {
        QList<Listed> files;    // .desktop files
        QStringList subfolders; // real folders, never links, by name
        quint64 seen = 0;       // the last scan that saw it
    };
    struct Walk;

    void walk(Walk& walk, const QString& root, const QString& folder, int depth);
    // The folder's contents, read again when it changed (fresh) or was
    // never read; none when it is no readable folder.
    std::optional<Folder> listing(Walk& walk, const QString& folder, bool& fresh);
    // The entry of the file at path, parsed again only when it is another
    // file than last time. nameInode: the listing's inode for its name.
    const std::optional<DesktopEntry>& entryOf(Walk& walk, const QString& path, const QString& id, ino_t nameInode);

    bool m_scanned = false;
    quint64 m_generation = 0;
    QHash<QString, Folder> m_folders;
    QHash<QString, FileState> m_files;
};

} // namespace quillon::platform::linux_
