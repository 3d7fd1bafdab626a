#include "cli/RoleDispatch.h"

#include <gtest/gtest.h>

using quillon::cli::RoleDispatch;
using Role = RoleDispatch::Role;

namespace {

struct Row {
    std::vector<std::string> argv;
    Role role;
};

TEST(RoleDispatch, FirstArgumentChoosesTheRole)
{
    const Row rows[] = {
        {{"quillon"}, Role::app},
        {{}, Role::app},
        {{"quillon", "--daemon"}, Role::daemon},
        {{"quillon", "--daemon", "--temps"}, Role::daemon},
        {{"quillon", "--smc-write", "u8:QLOD", "5"}, Role::smcWrite},
        {{"quillon", "--smc-write", "u8:QLOD", "5", "F0Tg"}, Role::smcWrite},
        {{"quillon", "--smc-write", "u8:QLOD"}, Role::usage},
        {{"quillon", "--smc-write"}, Role::usage},
        {{"quillon", "--temps"}, Role::temps},
        {{"quillon", "--temps", "--diag"}, Role::temps},
        {{"quillon", "--diag"}, Role::diag},
        {{"quillon", "--diag", "loop"}, Role::diag},
        {{"quillon", "--smc-sim", "/tmp/m.sock"}, Role::smcSim},
        {{"quillon", "--smc-sim"}, Role::usage},
        {{"quillon", "--release"}, Role::release},
        {{"quillon", "--power"}, Role::power},
        {{"quillon", "--power", "--sysfs-root", "/tmp/x"}, Role::power},
        {{"quillon", "--help"}, Role::help},
        {{"quillon", "-h"}, Role::help},
        {{"quillon", "--temps=1"}, Role::app},
        {{"quillon", "--TEMPS"}, Role::app},
        {{"quillon", "-psn_0_12345"}, Role::app},
        {{"quillon", "--verbose", "--temps"}, Role::app},
    };
    for (const Row& row : rows) {
        std::string joined;
        for (const auto& a : row.argv)
            joined += a + ' ';
        EXPECT_EQ(RoleDispatch::choose(row.argv), row.role) << joined;
    }
}

} // namespace
