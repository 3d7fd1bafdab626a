#include "SmcTransportFactory.h"

#include "AppleSmcTransport.h"
#include "HwmonFanTransport.h"
#include "MacSmcHwmonTransport.h"
#include "SharedSimClient.h"
#include "SimulatedMacTransport.h"
#include "SysfsFile.h"

#include <cstdio>
#include <cstdlib>

#ifdef __APPLE__
#include "IOKitSmcTransport.h"
#endif

namespace quillon::smc {

namespace {
constexpr std::string_view kSim = "sim";
constexpr std::string_view kSharedSimPrefix = "sim:";
} // namespace

SmcTransportFactory::Choice SmcTransportFactory::fromSetting(std::string_view setting)
{
    if (setting.empty()) {
#ifdef __APPLE__
        return {std::make_unique<IOKitSmcTransport>(), {}};
#else
        return {probe(SysfsFile::root()), {}};
#endif
    }
    if (setting == kSim)
        return {std::make_unique<SimulatedMacTransport>(), {}};
    if (setting.starts_with(kSharedSimPrefix) && setting.size() > kSharedSimPrefix.size())
        return {std::make_unique<SharedSimClient>(std::string(setting.substr(kSharedSimPrefix.size()))), {}};
    return {nullptr,
        "QUILLON_SMC=" + std::string(setting)
            + " is not understood; use \"sim\" or \"sim:/path/to.sock\" (no SMC until then)"};
}

std::unique_ptr<SmcTransport> SmcTransportFactory::probe(const std::string& sysfsRoot)
{
    if (std::optional<std::string> applesmc = AppleSmcTransport::find(sysfsRoot))
        return std::make_unique<AppleSmcTransport>(std::move(*applesmc));
    if (std::optional<MacSmcHwmonTransport> macsmc = MacSmcHwmonTransport::find(sysfsRoot))
        return std::make_unique<MacSmcHwmonTransport>(std::move(*macsmc));
    if (std::optional<HwmonFanTransport> hwmon = HwmonFanTransport::find(HwmonFanTransport::pathsFor(sysfsRoot)))
        return std::make_unique<HwmonFanTransport>(std::move(*hwmon));
    return nullptr;
}

std::unique_ptr<SmcTransport> SmcTransportFactory::fromEnvironment()
{
    const char* value = std::getenv("QUILLON_SMC");
    Choice choice = fromSetting(value ? value : "");
    if (!choice.error.empty())
        std::fprintf(stderr, "%s\n", choice.error.c_str());
    return std::move(choice.transport);
}

} // namespace quillon::smc
