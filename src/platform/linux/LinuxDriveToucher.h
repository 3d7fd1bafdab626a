#pragma once

#include "BlockReadCounter.h"
#include "platform/DriveToucher.h"

namespace quillon::platform::linux_ {

// Touches a mounted volume so that its drive sees a read:
//  1. lists the top directory (the touch every platform does);
//  2. checks the block device's read counter: a listing served from the page
//     cache never reaches the drive, and a drive that sees no request spins
//     down however often we list;
//  3. if the counter did not move, reads the first 4 KiB of a small file with
//     O_DIRECT, which bypasses the cache (a file of the top directory, else
//     of one of its first subdirectories).
// Everything is opened read-only with O_NOATIME, so not even an access time
// is written. The kernel grants O_NOATIME only to a file's owner (or root);
// where it refuses, the directory is still listed without it (the kernel may
// then note an access time, at most once a day under relatime), but files
// are only ever read with it.
//
// Thread-safe; blocks while the drive spins up.
class LinuxDriveToucher : public DriveToucher {
public:
    explicit LinuxDriveToucher(QString sysRoot = QStringLiteral("/sys"));

    DriveTouchOutcome touch(const QString& mountPath) override;

private:
    BlockReadCounter m_counter;
};

} // namespace quillon::platform::linux_
