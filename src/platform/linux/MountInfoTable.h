#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace quillon::platform::linux_ {

// The kernel's mount table as /proc/self/mountinfo writes it:
//   36 35 98:0 /mnt1 /mnt/parent rw,noatime master:1 - ext3 /dev/root rw,errors=continue
//   (id, parent, major:minor, root, mount point, options, optional fields
//   up to "-", file system type, source, super options).
// Paths come with white space and backslashes escaped in octal (\040).
class MountInfoTable {
public:
    struct Entry {
        unsigned major = 0;
        unsigned minor = 0;
        QString root;       // the directory of the file system mounted here ("/" unless a bind mount)
        QString mountPoint; // absolute
        QString fsType;
        QString source;

        bool operator==(const Entry&) const = default;
    };

    MountInfoTable() = delete;

    // Every well-formed line; a malformed line is skipped.
    static QList<Entry> parse(const QByteArray& text);
    // \NNN (octal) as the byte it stands for; anything else unchanged.
    static QByteArray unescape(const QByteArray& field);
};

} // namespace quillon::platform::linux_
