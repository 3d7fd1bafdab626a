#pragma once

#include "AppleSmcKeyTable.h"
#include "SmcTransport.h"

#include <optional>
#include <string>

namespace quillon::smc {

// The SMC of an Intel Mac (with or without a T2 chip) through the kernel's
// applesmc driver (kernels up to 7.2 and the t2linux patches).
//
// Reads of any key go through the driver's key list (AppleSmcKeyTable): the
// raw bytes in the SMC's own type. The driver writes only three fan values,
// so only these keys are writable here, each through its file:
//   F{n}Tg -> fan{n+1}_output   F{n}Mn -> fan{n+1}_min
//   F{n}Md -> fan{n+1}_manual   (the driver keeps the "FS! " bitmask, or on
//                                T2 kernels the per-fan mode key)
// The written bytes are decoded in the key's type (fpe2 on older Macs, flt
// on T2 Macs) and handed to the driver as whole rpm. Machines without
// per-fan mode keys get a one-byte F{n}Md read from and written to
// fan{n+1}_manual, so the layer above drives every machine alike. Any other
// write answers as the SMC answers a read-only key; keys the SMC lacks
// (such as "Ftst" on most Intel Macs) answer as missing.
class AppleSmcTransport : public SmcTransport {
public:
    // deviceDir: the driver's device directory (see find()).
    explicit AppleSmcTransport(std::string deviceDir);

    // The applesmc device directory under sysfsRoot: devices/platform/
    // applesmc.768, else the first bus/acpi/drivers/applesmc/APP* (T2
    // kernels); nullopt when neither holds a key_count.
    static std::optional<std::string> find(const std::string& sysfsRoot);

    std::uint32_t open() override;
    std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) override;
    SmcGeneration generation() const override { return SmcGeneration::intel; }
    std::string fanControlUnavailable() const override { return m_unavailable; }

    static constexpr int kMaxFans = 10;

private:
    enum class FanFile {
        output,
        minimum,
        manual
    };
    struct FanKey {
        int fan; // 0-based, as in the key
        FanFile file;
    };
    // F{n}Tg, F{n}Mn or F{n}Md with a one-digit n.
    static std::optional<FanKey> fanKeyOf(std::uint32_t key);
    std::string fanPath(int fan, FanFile file) const;
    // Whether key is an F{n}Md this machine lacks and fan{n+1}_manual stands for.
    bool isStandInModeKey(std::uint32_t key, std::uint32_t& status);

    std::uint32_t keyInfo(std::uint32_t key, SmcParamRecord& out);
    std::uint32_t read(std::uint32_t key, SmcParamRecord& out);
    std::uint32_t write(const SmcParamRecord& in, SmcParamRecord& out);
    // The table's info for key; result byte kKeyNotFound when it has none.
    std::uint32_t lookUp(std::uint32_t key, AppleSmcKeyTable::Info& info, std::uint32_t& index, SmcParamRecord& out);

    std::string m_dir;
    AppleSmcKeyTable m_keys;
    int m_fanCount = 0;
    std::string m_unavailable;
};

} // namespace quillon::smc
