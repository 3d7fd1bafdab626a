#pragma once

#include "DesktopEntry.h"

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>

namespace quillon::platform::linux_ {

// The desktop entries of the applications folders under the XDG data
// directories, by id. Read on first use and again only after one of the
// folders changed (an application was installed or removed), never on
// every look-up. Where two folders hold the same id the earlier one wins,
// as the XDG base directory rules say, even when it is no application (a
// user's Hidden=true copy hides the system's entry).
class DesktopEntryIndex : public QObject {
    Q_OBJECT
public:
    // dataDirs: $XDG_DATA_HOME first, then $XDG_DATA_DIRS (see fromEnvironment).
    explicit DesktopEntryIndex(QStringList dataDirs, QObject* parent = nullptr);

    // The data directories the environment names, with the XDG defaults.
    static QStringList fromEnvironment();

    const QHash<QString, DesktopEntry>& entries();
    const DesktopEntry* find(const QString& id);
    // How many times the folders were read (for tests and benchmarks).
    int reads() const { return m_reads; }

private:
    void read();
    void scan(const QString& root, const QString& folder);

    QStringList m_dataDirs;
    QHash<QString, DesktopEntry> m_entries;
    QSet<QString> m_seen; // every id a read has met, usable or not
    QFileSystemWatcher m_watcher;
    bool m_stale = true;
    int m_reads = 0;
};

} // namespace quillon::platform::linux_
