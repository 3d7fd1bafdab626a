#include "SysfsAttributes.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon::platform::linux_ {

namespace {

// Sysfs attributes are at most a page long.
constexpr qsizetype kMaxBytes = 4096;

std::optional<QByteArray> readSmallFile(const QString& path)
{
    // O_NONBLOCK: a FIFO planted in a captured tree must not hang the reader.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return std::nullopt;
    struct stat info {};
    QByteArray bytes;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        bytes.resize(kMaxBytes + 1);
        qsizetype filled = 0;
        while (filled < bytes.size()) {
            const ssize_t got = ::read(fd, bytes.data() + filled, static_cast<size_t>(bytes.size() - filled));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            filled += got;
        }
        bytes.truncate(filled);
    } else {
        bytes.clear();
    }
    ::close(fd);
    if (bytes.isEmpty() || bytes.size() > kMaxBytes || bytes.contains('\0'))
        return std::nullopt;
    return bytes;
}

} // namespace

SysfsAttributes::SysfsAttributes(QString directory)
    : m_directory(std::move(directory))
{
}

std::optional<QString> SysfsAttributes::text(const QString& name) const
{
    const auto bytes = readSmallFile(m_directory + QLatin1Char('/') + name);
    if (!bytes)
        return std::nullopt;
    const QString value = QString::fromUtf8(*bytes).trimmed();
    if (value.isEmpty())
        return std::nullopt;
    return value;
}

std::optional<qint64> SysfsAttributes::number(const QString& name) const
{
    const auto value = text(name);
    if (!value)
        return std::nullopt;
    // Decimal only: toLongLong would also take "0x10" with base 0; base 10
    // refuses it, and refuses overflow.
    bool ok = false;
    const qint64 parsed = value->toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    return parsed;
}

} // namespace quillon::platform::linux_
