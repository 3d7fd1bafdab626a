#include "SysfsAttributes.h"

#include "RegularFile.h"

namespace quillon::platform::linux_ {

namespace {

// Sysfs attributes are at most a page long.
constexpr qsizetype kMaxBytes = 4096;

std::optional<QByteArray> readSmallFile(const QString& path)
{
    // A FIFO planted in a captured tree must not hang the reader.
    auto bytes = RegularFile::read(path, kMaxBytes);
    if (!bytes || bytes->isEmpty() || bytes->contains('\0'))
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
