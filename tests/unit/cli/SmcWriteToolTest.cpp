#include "cli/SmcWriteTool.h"

#include "ToolTest.h"

#include "smc/SimulatedMac.h"

namespace ExitStatus = quillon::cli::ExitStatus;
using quillon::cli::SmcWriteTool;
using quillon::test::ToolTest;

namespace {

class SmcWriteToolTest : public ToolTest {
protected:
    int run(std::vector<std::string> args)
    {
        auto ctx = context();
        return SmcWriteTool::run(ctx, args);
    }
};

TEST_F(SmcWriteToolTest, WritesBytesAndRpmsAndReportsEach)
{
    EXPECT_EQ(run({"u8:QLOD", "100", "u8:F0Md", "1"}), ExitStatus::ok);
    EXPECT_EQ(rig.smc.readU8("QLOD"), 100);
    EXPECT_EQ(rig.smc.readU8("F0Md"), 1);
    EXPECT_EQ(output(), "write QLOD = 100 (u8)\nwrite F0Md = 1 (u8)\n");
}

TEST_F(SmcWriteToolTest, RefusedWriteSaysWhyAndFails)
{
    EXPECT_EQ(run({"F0Ac", "3000", "u8:QLOD", "50"}), ExitStatus::failed);
    EXPECT_TRUE(printed("write F0Ac = 3000 rpm (fpe2) failed: rc=0x86\n")) << output();
    EXPECT_TRUE(printed("write QLOD = 50 (u8)\n")) << output(); // later writes still happen
    EXPECT_EQ(rig.smc.readU8("QLOD"), 50);
}

struct BadArguments {
    std::vector<std::string> args;
    std::string message;
};

TEST_F(SmcWriteToolTest, BadArgumentsAreNamedAndNothingIsWritten)
{
    const BadArguments cases[] = {
        {{"u8:QLOD", "90", "F0T", "1000"}, "bad key: F0T"},
        {{"u8:QLOD", "90", "F0Tgx", "1000"}, "bad key: F0Tgx"},
        {{"u8:QLOD", "90", "u8:", "1"}, "bad key: u8:"},
        {{"u8:QLOD", "90", "U8:QLOD", "1"}, "bad key: U8:QLOD"},
        {{"u8:QLOD", "90", "u8:QL\tD", "1"}, "bad key: u8:QL\tD"},
        {{"u8:QLOD", "90", "u8:QLOD", "256"}, "bad u8 value: 256"},
        {{"u8:QLOD", "90", "u8:QLOD", "-1"}, "bad u8 value: -1"},
        {{"u8:QLOD", "90", "u8:QLOD", "0x10"}, "bad u8 value: 0x10"},
        {{"u8:QLOD", "90", "u8:QLOD", ""}, "bad u8 value: "},
        {{"u8:QLOD", "90", "u8:QLOD", " 5"}, "bad u8 value:  5"},
        {{"u8:QLOD", "90", "F0Tg", "12.5"}, "bad rpm value: 12.5"},
        {{"u8:QLOD", "90", "F0Tg", "99999999999"}, "bad rpm value: 99999999999"},
        {{"u8:QLOD", "90", "F0Tg", "fast"}, "bad rpm value: fast"},
        {{"u8:QLOD", "90", "F0Tg"}, "missing value for F0Tg"},
    };
    for (const BadArguments& c : cases) {
        out.str("");
        EXPECT_EQ(run(c.args), ExitStatus::badUsage) << c.message;
        EXPECT_EQ(output(), c.message + "\n");
        EXPECT_EQ(rig.smc.readU8("QLOD"), quillon::smc::SimulatedMac::kDefaultLoadPercent) << c.message;
    }
}

TEST_F(SmcWriteToolTest, MissingServiceIsReported)
{
    auto ctx = contextWithoutSmc();
    EXPECT_EQ(SmcWriteTool::run(ctx, {"u8:QLOD", "1"}), ExitStatus::failed);
    EXPECT_EQ(output(), "csmc_open failed: 0xffffffff\n");
}

} // namespace
