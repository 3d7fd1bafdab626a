#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace quillon::platform::linux_ {

// One application's desktop entry (the freedesktop.org Desktop Entry
// format), reduced to what naming it and finding its processes needs.
//
// The Exec line is only ever read, never run. What a process of it would
// look like is taken from its program: the first word after any `env` and
// variable assignments, or TryExec. A shell, an interpreter or another
// launcher there (`sh -c …`, `python3 …`, `xdg-open …`) names no program of
// the application, so such an entry is matched by its id alone; `flatpak
// run ID` and snaps (`/snap/bin/NAME`, `snap run NAME`) name their sandbox.
struct DesktopEntry {
    QString id;
    QString name;
    QString germanName; // Name[de], for German users; may be empty
    QString icon;
    bool shown = true; // false: NoDisplay, or not for this kind of program
    QString program;   // an absolute path or a bare name; empty when none can be matched
    QString flatpakId;
    QString snapName;
    QString wmClass; // StartupWMClass: the class of its windows; may be empty

    // The entry in text, read as the file with this id; none when it is no
    // application entry (no [Desktop Entry] group, another Type, Hidden, no
    // Name or Exec, or not text).
    static std::optional<DesktopEntry> parse(const QByteArray& text, const QString& id);
    // An Exec value split into its words, quotes and escapes resolved and
    // field codes (%f, %U, …) dropped; empty when the quoting is broken.
    static QStringList execWords(const QString& exec);
    // Whether a program (path or name) only runs or opens something else.
    static bool isLauncher(const QString& program);
};

} // namespace quillon::platform::linux_
