#include "FirmwareHandback.h"

#include "LogLine.h"

namespace quillon::daemon {

FirmwareHandback::FirmwareHandback(smc::SmcConnection& smc, const FanKeys& fans, MonotonicClock& clock, DaemonLog& log)
    : m_smc(smc)
    , m_fans(fans)
    , m_clock(clock)
    , m_log(log)
{
}

int FirmwareHandback::run()
{
    for (int n = 1; n <= kMaxAttempts; ++n) {
        if (attempt()) {
            m_log.write(DaemonLog::Severity::notice,
                LogLine().appendf("Quillon daemon: released to Apple-auto (verified, attempt %d)", n).text());
            return n;
        }
        if (n < kMaxAttempts)
            m_clock.sleepFor(kRetryPause);
    }
    m_log.write(DaemonLog::Severity::warning, "Quillon daemon: WARNING — could not verify auto mode after retries");
    return 0;
}

bool FirmwareHandback::attempt()
{
    for (int n = 0; n < m_fans.count(); ++n) {
        m_smc.writeNumber(m_fans[n].target, 0);
        m_smc.writeU8(m_fans[n].mode, 0);
    }
    m_smc.writeU8(FanKeys::kForceTest, 0);
    for (int n = 0; n < m_fans.count(); ++n) {
        if (m_smc.readU8(m_fans[n].mode) != 0)
            return false;
    }
    return true;
}

} // namespace quillon::daemon
