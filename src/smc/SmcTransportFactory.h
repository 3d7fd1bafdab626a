#pragma once

#include "SmcTransport.h"

#include <memory>
#include <string>
#include <string_view>

namespace quillon::smc {

// Chooses the SMC under the csmc_* layer from the QUILLON_SMC setting.
class SmcTransportFactory {
public:
    SmcTransportFactory() = delete;

    struct Choice {
        std::unique_ptr<SmcTransport> transport; // null: no SMC service
        std::string error;                       // set when the setting was not understood
    };

    // "sim": a private simulated Mac; "sim:/path.sock": the shared simulator
    // at that path; empty: the machine's own SMC (on Linux, probe() under
    // SysfsFile::root()). Anything else is an error and means no SMC.
    static Choice fromSetting(std::string_view setting);

    // The machine's fan drivers, tried in this order: applesmc (Intel and T2
    // Macs), macsmc_hwmon (Apple silicon), then the hwmon fan and CPU/GPU
    // temperature drivers of any other computer; null when sysfsRoot shows
    // none of them.
    static std::unique_ptr<SmcTransport> probe(const std::string& sysfsRoot);

    // fromSetting(QUILLON_SMC); an error is printed once to standard error.
    static std::unique_ptr<SmcTransport> fromEnvironment();
};

} // namespace quillon::smc
