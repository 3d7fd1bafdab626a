#include "ReleaseCommand.h"

#include "FanKeys.h"
#include "FirmwareHandback.h"
#include "LogLine.h"
#include "SystemDaemonLog.h"
#include "SystemMonotonicClock.h"

#include "smc/SmcCodes.h"
#include "smc/SmcConnection.h"

namespace quillon::daemon {

int ReleaseCommand::run()
{
    SystemDaemonLog log;
    SystemMonotonicClock clock;
    smc::SmcConnection& smc = smc::SmcConnection::processWide();
    // Without an SMC no fan can have been taken: there is nothing to hand
    // back, and a clean stop of the unit must not count as a failure.
    if (const std::uint32_t rc = smc.open(); rc != smc::SmcStatus::kSuccess) {
        log.write(DaemonLog::Severity::notice,
            LogLine().appendf("Quillon daemon: release: no SMC to release (status 0x%x); nothing to do", rc).text());
        return 0;
    }
    const FanKeys fans = FanKeys::discover(smc);
    log.write(DaemonLog::Severity::notice,
        LogLine().appendf("Quillon daemon: release requested — handing %d fans back to Apple", fans.count()).text());
    return FirmwareHandback(smc, fans, clock, log).run() > 0 ? 0 : 1;
}

} // namespace quillon::daemon
