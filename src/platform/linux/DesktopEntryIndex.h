#pragma once

#include "DesktopEntry.h"
#include "DesktopEntryScanner.h"

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <memory>

namespace quillon::platform::linux_ {

// The desktop entries of the applications folders under the XDG data
// directories, by id. Where two folders hold the same id the earlier one
// wins, as the XDG base directory rules say, even when it is no application
// (a user's Hidden=true copy hides the system's entry).
//
// The folders are read on a thread of their own (see DesktopEntryScanner),
// never on the caller's: once at construction, and after a change (an
// application installed or removed) again, only what changed, a short
// while after the last of a burst of changes. Until the first read is done
// there are no entries; each finished read is announced by changed(). A
// read that hangs (a folder on a dead mount) leaves the last entries in
// place. Main thread only.
class DesktopEntryIndex : public QObject {
    Q_OBJECT
public:
    // Changes closer together than this are read as one.
    static constexpr int settleMs = 500;

    // dataDirs: $XDG_DATA_HOME first, then $XDG_DATA_DIRS (see fromEnvironment).
    explicit DesktopEntryIndex(QStringList dataDirs, QObject* parent = nullptr);
    ~DesktopEntryIndex() override;

    // The data directories the environment names, with the XDG defaults.
    static QStringList fromEnvironment();

    const QHash<QString, DesktopEntry>& entries() const { return m_entries; }
    const DesktopEntry* find(const QString& id) const;
    // Whether the first read has finished.
    bool ready() const { return m_reads > 0; }
    // How many reads finished, and how many files they parsed in all (for
    // tests and benchmarks).
    int reads() const { return m_reads; }
    int parsed() const { return m_parsed; }

signals:
    // A read finished; the entries may have changed.
    void changed();

private:
    struct Mailbox;

    void startRead();
    void finishRead(const DesktopEntryScanner::Result& result);

    QStringList m_dataDirs;
    std::shared_ptr<DesktopEntryScanner> m_scanner = std::make_shared<DesktopEntryScanner>();
    std::shared_ptr<Mailbox> m_mailbox;
    QHash<QString, DesktopEntry> m_entries;
    QFileSystemWatcher m_watcher;
    QTimer m_settle;
    QSet<QString> m_changedFolders;
    bool m_reading = false;
    int m_reads = 0;
    int m_parsed = 0;
};

} // namespace quillon::platform::linux_
