#include "MountInfoTable.h"

#include <QFile>
#include <optional>

namespace quillon::platform::linux_ {

namespace {

std::optional<std::pair<unsigned, unsigned>> deviceNumbers(const QByteArray& field)
{
    const QList<QByteArray> parts = field.split(':');
    if (parts.size() != 2)
        return std::nullopt;
    bool majorOk = false;
    bool minorOk = false;
    const unsigned major = parts[0].toUInt(&majorOk);
    const unsigned minor = parts[1].toUInt(&minorOk);
    if (!majorOk || !minorOk)
        return std::nullopt;
    return std::pair{major, minor};
}

QString path(const QByteArray& field)
{
    return QFile::decodeName(MountInfoTable::unescape(field));
}

} // namespace

QByteArray MountInfoTable::unescape(const QByteArray& field)
{
    QByteArray out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        const auto isOctal = [&](qsizetype at) {
            return at < field.size() && field[at] >= '0' && field[at] <= '7';
        };
        if (field[i] == '\\' && isOctal(i + 1) && isOctal(i + 2) && isOctal(i + 3)) {
            const int value = (field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0');
            if (value <= 0xff) {
                out.append(static_cast<char>(value));
                i += 3;
                continue;
            }
        }
        out.append(field[i]);
    }
    return out;
}

QList<MountInfoTable::Entry> MountInfoTable::parse(const QByteArray& text)
{
    QList<Entry> entries;
    for (const QByteArray& line : text.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        // The optional fields run up to a lone "-"; three fields follow it.
        const qsizetype separator = fields.indexOf("-", 6);
        if (separator < 0 || fields.size() < separator + 3)
            continue;
        const auto device = deviceNumbers(fields[2]);
        if (!device || !fields[4].startsWith('/'))
            continue;
        entries.append({device->first, device->second, path(fields[3]), path(fields[4]),
            QString::fromUtf8(fields[separator + 1]), path(fields[separator + 2])});
    }
    return entries;
}

} // namespace quillon::platform::linux_
