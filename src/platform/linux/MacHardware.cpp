#include "MacHardware.h"

#include "SysfsAttributes.h"

#include <QFile>

namespace quillon::platform::linux_ {

namespace {
// The device tree's "compatible" is a list of NUL-terminated names, most
// specific first ("apple,j314s", "apple,t6000", "apple,arm-platform").
bool deviceTreeNamesApple(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray names = file.read(4096);
    for (const QByteArray& name : names.split('\0')) {
        if (name.startsWith("apple,"))
            return true;
    }
    return false;
}
} // namespace

bool MacHardware::detect(const QString& sysfsRoot)
{
    const auto vendor = SysfsAttributes(sysfsRoot + QStringLiteral("/class/dmi/id")).text(QStringLiteral("sys_vendor"));
    if (vendor && vendor->startsWith(QLatin1String("Apple")))
        return true;
    return deviceTreeNamesApple(sysfsRoot + QStringLiteral("/firmware/devicetree/base/compatible"));
}

bool MacHardware::detect()
{
    const QString root = qEnvironmentVariable("QUILLON_SYSFS_ROOT");
    return detect(root.isEmpty() ? QStringLiteral("/sys") : root);
}

} // namespace quillon::platform::linux_
