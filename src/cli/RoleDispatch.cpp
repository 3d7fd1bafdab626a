#include "RoleDispatch.h"

namespace quillon::cli {

RoleDispatch::Role RoleDispatch::choose(const std::vector<std::string>& argv)
{
    if (argv.size() < 2)
        return Role::app;
    const std::string& first = argv[1];
    if (first == "--daemon")
        return Role::daemon;
    if (first == "--release")
        return Role::release;
    if (first == "--smc-write")
        return argv.size() >= 4 ? Role::smcWrite : Role::usage;
    if (first == "--temps")
        return Role::temps;
    if (first == "--diag")
        return Role::diag;
    if (first == "--smc-sim")
        return argv.size() >= 3 ? Role::smcSim : Role::usage;
    if (first == "--power")
        return Role::power;
    if (first == "--help" || first == "-h")
        return Role::help;
    return Role::app;
}

} // namespace quillon::cli
