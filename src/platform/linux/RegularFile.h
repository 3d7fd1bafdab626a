#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace quillon::platform::linux_ {

// Reads small files that something outside the app put in place (sysfs
// attributes, desktop entries) without ever waiting: opened non-blocking,
// and read only when it is a regular file, so a FIFO or a device planted
// there cannot hang the reader.
class RegularFile {
public:
    // The file's bytes; none when it cannot be opened, is no regular file or
    // holds more than maxBytes.
    static std::optional<QByteArray> read(const QString& path, qsizetype maxBytes);
};

} // namespace quillon::platform::linux_
