#pragma once

#include <QString>

#include <optional>

namespace quillon::platform::linux_ {

// The attribute files of one sysfs directory (or a captured copy of one).
// Reads are bounded and never block: a file that is not a regular file, is
// unreadable, empty, too long or not text reads as absent.
class SysfsAttributes {
public:
    explicit SysfsAttributes(QString directory);

    // The file's text without surrounding white space.
    std::optional<QString> text(const QString& name) const;
    // A decimal integer, optionally signed; absent when it is anything else
    // or does not fit into 64 bits.
    std::optional<qint64> number(const QString& name) const;

private:
    QString m_directory;
};

} // namespace quillon::platform::linux_
