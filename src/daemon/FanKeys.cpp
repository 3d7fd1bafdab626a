#include "FanKeys.h"

#include "smc/SmcCodes.h"

#include <algorithm>

namespace quillon::daemon {

FanKeys FanKeys::discover(smc::SmcConnection& smc)
{
    bool ok = false;
    const int reported = smc.readU8("FNum", &ok);
    const bool uppercase = smc.keyInfo("F0Md", nullptr, nullptr, nullptr) == smc::SmcStatus::kSuccess;
    return FanKeys(ok ? std::min(reported, kMaxFans) : 0, uppercase);
}

FanKeys::FanKeys(int fanCount, bool modeKeyIsUppercase)
    : m_modeKeyIsUppercase(modeKeyIsUppercase)
{
    for (int n = 0; n < std::clamp(fanCount, 0, kMaxFans); ++n) {
        const std::string f = "F" + std::to_string(n);
        m_fans.push_back({f + "Ac", f + "Mn", f + "Mx", f + "Tg", f + (modeKeyIsUppercase ? "Md" : "md"), f + "Md"});
    }
}

} // namespace quillon::daemon
