#include "CommandLine.h"

#include "DiagTool.h"
#include "PowerRole.h"
#include "RealPacer.h"
#include "RoleDispatch.h"
#include "SimServerRole.h"
#include "SmcWriteTool.h"
#include "TempsTool.h"
#include "daemon/HelperDaemon.h"
#include "daemon/ReleaseCommand.h"
#include "smc/SmcConnection.h"

#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace quillon::cli {

void CommandLine::printUsage(const char* program, bool toStdout)
{
    std::FILE* stream = toStdout ? stdout : stderr;
    std::fprintf(stream,
                 "Usage: %s [ROLE]\n"
                 "  (none) or --demo                  the tray app (quillon only); --demo: on a simulated Mac\n"
                 "                                    with a fan helper of its own\n"
                 "  ctl COMMAND                       script the running tray app (quillon only; ctl help)\n"
                 "  --daemon                          run the privileged fan helper\n"
                 "  --release                         hand every fan back to firmware control and exit\n"
                 "  --temps                           list the safety sensors and the curve's demand\n"
                 "  --diag [--dumpkeys|probe|loop]    SMC diagnostics and write tests\n"
                 "  --smc-write KEY VALUE [KEY VALUE ...]\n"
                 "                                    write keys: u8:KEY takes 0..255, KEY takes an rpm\n"
                 "  --smc-sim PATH                    serve a shared simulated Mac on a Unix socket\n"
                 "  --power [--sysfs-root DIR]        the power readings (DIR: a copy of /sys/class/power_supply)\n"
                 "Environment:\n"
                 "  QUILLON_SMC=sim                   a simulated Mac inside this process\n"
                 "  QUILLON_SMC=sim:/path/to.sock     the shared simulated Mac served at that path\n"
                 "  QUILLON_HELPER_BUS=system|session|ADDRESS\n"
                 "                                    the bus the fan helper serves on (default system)\n",
                 program);
}

int CommandLine::run(int argc, char** argv, const AppRole& appRole)
{
    const std::vector<std::string> args(argv, argv + argc);
    const char* program = argc > 0 ? argv[0] : "quillon";
    const auto toolRun = [&](auto&& body) {
        RealPacer pacer;
        ToolContext context{smc::SmcConnection::processWide(), std::cout, pacer, ::getuid() == 0, program};
        const int status = body(context);
        std::cout.flush();
        return status;
    };

    switch (RoleDispatch::choose(args)) {
    case RoleDispatch::Role::smcWrite:
        return toolRun([&](ToolContext& c) { return SmcWriteTool::run(c, {args.begin() + 2, args.end()}); });
    case RoleDispatch::Role::temps:
        return toolRun([](ToolContext& c) { return TempsTool::run(c); });
    case RoleDispatch::Role::diag: {
        const auto mode = DiagTool::parseMode(args.size() > 2 ? std::optional(args[2]) : std::nullopt);
        if (!mode) {
            std::fprintf(stderr, "%s: unknown --diag mode: %s (expected --dumpkeys, probe or loop)\n", program,
                         args[2].c_str());
            return ExitStatus::badUsage;
        }
        return toolRun([&](ToolContext& c) { return DiagTool::run(c, *mode); });
    }
    case RoleDispatch::Role::smcSim:
        return SimServerRole::run(args[2]);
    case RoleDispatch::Role::power:
        return PowerRole::run(argc, argv, {args.begin() + 2, args.end()});
    case RoleDispatch::Role::daemon:
        return daemon::HelperDaemon::run(argc, argv);
    case RoleDispatch::Role::release:
        return daemon::ReleaseCommand::run();
    case RoleDispatch::Role::help:
        printUsage(program, true);
        return ExitStatus::ok;
    case RoleDispatch::Role::usage:
        printUsage(program, false);
        return ExitStatus::badUsage;
    case RoleDispatch::Role::app:
        if (appRole)
            return appRole(argc, argv);
        printUsage(program, false);
        return ExitStatus::badUsage;
    }
    return ExitStatus::badUsage;
}

} // namespace quillon::cli
