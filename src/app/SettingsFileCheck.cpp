#include "SettingsFileCheck.h"

#include <QFile>
#include <QSettings>
#include <sys/stat.h>

namespace quillon::app {

QString SettingsFileCheck::prepare(const QString& path)
{
    // stat, not open: a FIFO cannot block us here. A link is judged by what
    // it points to, so a dotfile manager's link to a regular file stays.
    struct stat info { };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    const bool regular = S_ISREG(info.st_mode);
    if (regular && info.st_size <= kMaxBytes)
        return {};
    const QString aside = path + QStringLiteral(".unreadable");
    QFile::remove(aside);
    if (::rename(QFile::encodeName(path).constData(), QFile::encodeName(aside).constData()) != 0)
        return QStringLiteral("the settings file %1 is unusable and could not be moved aside").arg(path);
    return QStringLiteral("the settings file %1 was %2; moved aside to %3")
        .arg(path, regular ? QStringLiteral("larger than %1 bytes").arg(kMaxBytes) : QStringLiteral("no regular file"),
            aside);
}

QString SettingsFileCheck::preserveIfUnparsable(const QSettings& settings)
{
    if (settings.status() != QSettings::FormatError)
        return {};
    const QString copy = settings.fileName() + QStringLiteral(".corrupt");
    QFile::remove(copy);
    if (!QFile::copy(settings.fileName(), copy))
        return QStringLiteral("the settings file %1 is damaged and no copy could be kept").arg(settings.fileName());
    return QStringLiteral("the settings file %1 is damaged; a copy is kept as %2").arg(settings.fileName(), copy);
}

} // namespace quillon::app
