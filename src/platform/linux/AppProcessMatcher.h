#pragma once

#include "DesktopEntry.h"
#include "ProcessTable.h"

namespace quillon::platform::linux_ {

// Whether a process belongs to one application, by any of the ways a Linux
// desktop leaves a trace of the application it started:
//  - the systemd scope or service the desktop put it in
//    ("app-[LAUNCHER-]ID-RANDOM.scope", "app-[LAUNCHER-]ID@RANDOM.service",
//    dashes in the id escaped as \x2d), which GNOME, KDE and Flatpak create;
//  - the Flatpak sandbox of that id;
//  - the snap's scope ("snap.NAME.APP-….scope") or its files (/snap/NAME/);
//  - the program of the entry's Exec line: the executable's path, the first
//    word of the command line, or the script an interpreter runs.
class AppProcessMatcher {
public:
    // entry: the application's entry; null when only its id is known.
    AppProcessMatcher(const QString& id, const DesktopEntry* entry);

    bool matches(const ProcessTable::Process& process) const;
    // Whether this match needs each process's Flatpak id.
    bool wantsFlatpak() const { return !m_flatpakId.isEmpty(); }

    // The application ids a cgroup path's app scope or service names.
    static bool scopeNames(const QString& cgroup, const QString& id);

private:
    bool programMatches(const ProcessTable::Process& process) const;

    QString m_id;
    QString m_flatpakId;
    QString m_snapName;
    QString m_snapUnit;  // "/snap.NAME." in a cgroup path
    QString m_snapFiles; // "/snap/NAME/"
    QString m_program;     // absolute, or a bare name
    QString m_programName; // its last part
};

} // namespace quillon::platform::linux_
