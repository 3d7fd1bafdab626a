#pragma once

#include <QString>
#include <optional>

namespace quillon::platform::linux_ {

// The number of read requests a block device (disk, partition, loop or
// device-mapper device) has completed since boot: the first field of its
// sysfs "stat" file. It rises only when a read really reaches the device, not
// when the page cache serves it.
class BlockReadCounter {
public:
    explicit BlockReadCounter(QString sysRoot = QStringLiteral("/sys"));

    // nullopt for a device without a counter (major 0: tmpfs, network and
    // other anonymous file systems) or an unreadable one.
    std::optional<quint64> readsCompleted(unsigned major, unsigned minor) const;
    // The writes completed (fifth field), the same way; tests use it to show
    // that nothing was written.
    std::optional<quint64> writesCompleted(unsigned major, unsigned minor) const;

private:
    std::optional<quint64> field(unsigned major, unsigned minor, int index) const;

    QString m_sysRoot;
};

} // namespace quillon::platform::linux_
