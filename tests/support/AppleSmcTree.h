#pragma once

#include "support/AppleSmcDriverStandIn.h"
#include "support/CapturedTree.h"

#include <memory>

namespace quillon::test {

// A writable copy of a captured applesmc tree (tests/fixtures/applesmc/NAME)
// with the driver played over it once start() runs; change the copy first
// for a broken driver.
class AppleSmcTree {
public:
    static constexpr const char* kPlatformDevice = "sys/devices/platform/applesmc.768";
    static constexpr const char* kT2Device = "sys/bus/acpi/drivers/applesmc/APP0001:00";

    explicit AppleSmcTree(const QString& name, const QString& device = kPlatformDevice)
        : tree("applesmc/" + name)
        , m_device(device)
    {
    }

    void start()
    {
        driver = std::make_unique<AppleSmcDriverStandIn>(
            tree.path(m_device).toStdString(), tree.path("smc-keys").toStdString());
    }

    // What QUILLON_SYSFS_ROOT names for this tree.
    QString sysfs() const { return tree.path("sys"); }
    std::string device() const { return tree.path(m_device).toStdString(); }
    // A file of the device, e.g. "fan1_manual", without its newline.
    QByteArray read(const QString& file) const { return readFile(tree.path(m_device + '/' + file)).trimmed(); }
    void set(const QString& file, const QByteArray& value) const { tree.set(m_device + '/' + file, value); }

    CapturedTree tree;
    std::unique_ptr<AppleSmcDriverStandIn> driver;

private:
    QString m_device;
};

} // namespace quillon::test
