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
    if (const std::uint32_t rc = smc.open(); rc != smc::SmcStatus::kSuccess) {
        log.write(DaemonLog::Severity::warning,
            LogLine().appendf("Quillon daemon: release: cannot open the SMC (status 0x%x)", rc).text());
        return 1;
    }
    const FanKeys fans = FanKeys::discover(smc);
    log.write(DaemonLog::Severity::notice,
        LogLine().appendf("Quillon daemon: release requested — handing %d fans back to Apple", fans.count()).text());
    return FirmwareHandback(smc, fans, clock, log).run() > 0 ? 0 : 1;
}

} // namespace quillon::daemon
