#include "DrmDisplays.h"

#include "SysfsAttributes.h"

#include <QDir>
#include <QRegularExpression>

namespace quillon::platform::linux_ {

DrmDisplays::DrmDisplays(QString sysfsRoot, QObject* parent)
    : ExternalDisplays(parent)
    , m_drm(sysfsRoot + QStringLiteral("/class/drm"))
{
}

QString DrmDisplays::fromEnvironment()
{
    const QString root = qEnvironmentVariable("QUILLON_SYSFS_ROOT");
    return root.isEmpty() ? QStringLiteral("/sys") : root;
}

QString DrmDisplays::connectorType(const QString& folder)
{
    static const QRegularExpression pattern(QStringLiteral("^card\\d+-([A-Za-z][A-Za-z0-9-]*)-\\d+$"));
    const QRegularExpressionMatch match = pattern.match(folder);
    return match.hasMatch() ? match.captured(1) : QString();
}

bool DrmDisplays::connected()
{
    static const QStringList notExternal{"eDP", "LVDS", "DSI", "DPI", "SPI", "Writeback"};
    const QDir drm(m_drm);
    for (const QString& folder : drm.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System)) {
        const QString type = connectorType(folder);
        if (type.isEmpty() || notExternal.contains(type))
            continue;
        if (SysfsAttributes(drm.filePath(folder)).text(QStringLiteral("status")) == QLatin1String("connected"))
            return true;
    }
    return false;
}

} // namespace quillon::platform::linux_
