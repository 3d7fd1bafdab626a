#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillon::smc {

// Whole-file reads and writes of kernel attribute files, as the SMC drivers
// expose them under /sys. Every call opens the file afresh: an attribute's
// value is produced at open time.
class SysfsFile {
public:
    SysfsFile() = delete;

    // Where sysfs is: QUILLON_SYSFS_ROOT when set (tests point it at a
    // captured tree), else "/sys".
    static std::string root();

    // The file's bytes, or nullopt with error set to the errno of the failure.
    static std::optional<std::string> read(const std::string& path, int* error = nullptr);
    // A decimal integer with optional surrounding white space; nullopt for
    // anything else (empty, garbage, out of range, unreadable).
    static std::optional<long long> readInteger(const std::string& path);
    // The first line without trailing white space; nullopt when unreadable.
    static std::optional<std::string> readLine(const std::string& path);
    // Writes text in one write(); 0 or the errno the kernel answered.
    static int write(const std::string& path, const std::string& text);
    // The same, for a write that only says what the next read returns
    // (applesmc's key_at_index): counted with that read, not on its own.
    static int select(const std::string& path, const std::string& text);

    // This thread's reads and writes so far, selections not counted: what
    // a benchmark counts as round trips on the sysfs transports.
    struct Traffic {
        std::uint64_t reads = 0;
        std::uint64_t writes = 0;
    };
    static Traffic traffic();

    static bool exists(const std::string& path);
    static bool writable(const std::string& path);

    // The status code a transport reports for an errno: kIOReturnNotPrivileged
    // for EACCES/EPERM, kIOReturnBadArgument for EINVAL/ERANGE,
    // kIOReturnUnsupported for EOPNOTSUPP, else kIOReturnNotResponding.
    static std::uint32_t statusOf(int error);
};

} // namespace quillon::smc
