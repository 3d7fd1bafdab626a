#include "BlockReadCounter.h"

#include "SysfsAttributes.h"

#include <QRegularExpression>

namespace quillon::platform::linux_ {

BlockReadCounter::BlockReadCounter(QString sysRoot)
    : m_sysRoot(std::move(sysRoot))
{
}

std::optional<quint64> BlockReadCounter::readsCompleted(unsigned major, unsigned minor) const
{
    return field(major, minor, 0);
}

std::optional<quint64> BlockReadCounter::writesCompleted(unsigned major, unsigned minor) const
{
    return field(major, minor, 4);
}

std::optional<quint64> BlockReadCounter::field(unsigned major, unsigned minor, int index) const
{
    if (major == 0)
        return std::nullopt;
    const SysfsAttributes device(QStringLiteral("%1/dev/block/%2:%3").arg(m_sysRoot).arg(major).arg(minor));
    const auto stat = device.text(QStringLiteral("stat"));
    if (!stat)
        return std::nullopt;
    static const QRegularExpression spaces(QStringLiteral("\\s+"));
    const QStringList fields = stat->split(spaces, Qt::SkipEmptyParts);
    if (fields.size() <= index)
        return std::nullopt;
    bool ok = false;
    const quint64 value = fields[index].toULongLong(&ok, 10);
    return ok ? std::optional(value) : std::nullopt;
}

} // namespace quillon::platform::linux_
