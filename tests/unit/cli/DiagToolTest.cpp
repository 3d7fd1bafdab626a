#include "cli/DiagTool.h"

#include "ToolTest.h"

#include "smc/SimulatedMac.h"

#include <regex>

using quillon::cli::DiagTool;
namespace ExitStatus = quillon::cli::ExitStatus;
using quillon::smc::SimulatedMac;
using Mode = DiagTool::Mode;

namespace {

class DiagToolTest : public quillon::test::ToolTest {
protected:
    int run(Mode mode, bool asRoot = false)
    {
        auto ctx = context(asRoot);
        return DiagTool::run(ctx, mode);
    }
    // Where the fan-0 keys the write tests touch stand after the test.
    void expectFan0Restored(std::uint8_t mode, float target)
    {
        EXPECT_EQ(rig.smc.readU8("F0Md"), mode);
        EXPECT_EQ(rig.smc.readFlt("F0Tg"), target);
    }
    double number(const std::string& pattern)
    {
        std::smatch m;
        const std::string text = output();
        if (!std::regex_search(text, m, std::regex(pattern)))
            return -1;
        return std::stod(m[1]);
    }
};

TEST_F(DiagToolTest, ParsesItsModes)
{
    EXPECT_EQ(DiagTool::parseMode(std::nullopt), Mode::standard);
    EXPECT_EQ(DiagTool::parseMode("--dumpkeys"), Mode::dumpKeys);
    EXPECT_EQ(DiagTool::parseMode("probe"), Mode::probe);
    EXPECT_EQ(DiagTool::parseMode("loop"), Mode::loop);
    for (const char* bad : {"", "dumpkeys", "--probe", "LOOP", "loop "})
        EXPECT_FALSE(DiagTool::parseMode(std::string(bad))) << bad;
}

TEST_F(DiagToolTest, DumpShowsTheFanKeysAndListsEveryKeyByIndexAndStops)
{
    ASSERT_EQ(run(Mode::dumpKeys, true), ExitStatus::ok);
    const std::uint32_t count = rig.smc.keyCount();
    const std::string text = output();
    EXPECT_EQ(text.rfind("=== Boilerhouse SMC Diagnostics ===\nrunning as root: true\n"
                         "FNum (fan count) = 2  ok=true\n\n--- Fan 0 ---\n",
                  0),
        0u)
        << text;
    EXPECT_TRUE(printed("  F0Ac: size=4 type=flt  attrs=0x80  bytes=[00 00 96 44]  flt=1200.0\n")) << text;
    EXPECT_TRUE(printed("  F0Md: size=1 type=ui8  attrs=0xc0  bytes=[00]  ui8=0\n"));
    EXPECT_TRUE(printed("  F1Sf: size=2 type=fpe2 attrs=0x80  bytes=[14 50]  fpe2≈1300 rpm\n"));
    EXPECT_TRUE(printed("\n--- Fan 1 ---\n"));
    const std::regex line(R"(  \[ *(\d+)\] (.{4})  (.{4})  bytes=\[([0-9a-f ]*)\]\n)");
    std::uint32_t expectedIndex = 0;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), line); it != std::sregex_iterator(); ++it)
        EXPECT_EQ(std::stoul((*it)[1]), expectedIndex++);
    EXPECT_EQ(expectedIndex, count);
    EXPECT_TRUE(printed("] QLOD  ui8   bytes=[08]\n")) << text;
    EXPECT_TRUE(printed("] RPlt  ch8*  bytes=[6a 33 31 34 73 00 00 00]\n")) << text;
    EXPECT_FALSE(printed("Write test"));
    EXPECT_EQ(pacer.sleeps, 0);
}

TEST_F(DiagToolTest, ForcedWriteSpinsTheFanUpAndRestoresModeAndTargetAlsoWhenInterrupted)
{
    const float targetBefore = rig.smc.readFlt("F0Tg");
    ASSERT_EQ(run(Mode::standard), ExitStatus::ok);
    EXPECT_TRUE(printed("\n=== Reads as float (correct type for ASi) ===\n"));
    EXPECT_TRUE(printed("  F1Mx (max) = 6200 rpm ok=true\n")) << output();
    EXPECT_TRUE(printed("  Saving original: F0Md=0 F0Tg=1200\n")) << output();
    EXPECT_TRUE(
        printed("  csmc_write_u8(F0Md, 1) rc=0\n  csmc_write_flt(F0Tg, 4000) rc=0\n  After: F0Md=1 F0Tg=4000\n"));
    EXPECT_GE(number(R"(F0Ac \(current\) = (\d+) rpm  <-- if this jumped, write WORKED)"), 3900.0) << output();
    EXPECT_TRUE(printed("  Restored F0Md=0, F0Tg=1200\n"));
    EXPECT_TRUE(output().ends_with("\n=== Done ===\n"));
    EXPECT_FALSE(printed("Re-run with"));
    expectFan0Restored(0, targetBefore);

    // Interrupted while the fan spins up: restored all the same.
    out.str("");
    pacer.interruptAfterSleeps = pacer.sleeps + 1;
    ASSERT_EQ(run(Mode::standard), ExitStatus::ok);
    EXPECT_TRUE(printed("Interrupted: restoring now"));
    expectFan0Restored(0, targetBefore);
}

TEST_F(DiagToolTest, RefusedWritesAskForRootOnlyWhenNotRoot)
{
    rig.smc.writeU8("QFLT", SimulatedMac::writesFail);
    ASSERT_EQ(run(Mode::standard, false), ExitStatus::ok);
    EXPECT_TRUE(printed("  csmc_write_u8(F0Md, 1) rc=0x82\n")) << output();
    EXPECT_TRUE(printed("\nRe-run with: sudo /opt/quillon/quillon-helper --diag\n"));

    out.str("");
    ASSERT_EQ(run(Mode::standard, true), ExitStatus::ok);
    EXPECT_FALSE(printed("Re-run with")) << output();
}

TEST_F(DiagToolTest, LoopDrivesBothFansForFifteenSecondsThenRestoresAlsoWhenInterrupted)
{
    rig.smc.writeU8("F1Md", 0);
    ASSERT_EQ(run(Mode::loop), ExitStatus::ok);
    EXPECT_TRUE(
        printed("\n=== AGGRESSIVE LOOP TEST (Md=1 + Tg=5000 every 200ms for 15s) ===\nSaving: F0Md=0 F1Md=0\n"));
    EXPECT_EQ(pacer.sleeps, 75);
    EXPECT_TRUE(printed("  T+14.8s  F0: Ac=5000 Tg=5000 Md=1 | F1: Ac=5000 Md=1\n")) << output();
    EXPECT_EQ(rig.smc.readU8("F0Md"), 0);
    EXPECT_EQ(rig.smc.readU8("F1Md"), 0);
    EXPECT_FALSE(printed("=== Done ==="));

    // Interrupted after three more steps: restored at once.
    pacer.interruptAfterSleeps = 78;
    ASSERT_EQ(run(Mode::loop), ExitStatus::ok);
    EXPECT_EQ(pacer.sleeps, 78);
    EXPECT_TRUE(printed("Interrupted: restoring now"));
    EXPECT_EQ(rig.smc.readU8("F0Md"), 0);
    EXPECT_EQ(rig.smc.readU8("F1Md"), 0);
}

TEST_F(DiagToolTest, ProbeReadsBackModeAndTargetAndRestores)
{
    ASSERT_EQ(run(Mode::probe), ExitStatus::ok);
    EXPECT_TRUE(printed("\n=== MODE WRITE PROBE ===\n  write F0Md=0: rc=0  read back 0 ok=true\n"
                        "  write F0Md=1: rc=0  read back 1 ok=true\n"))
        << output();
    EXPECT_TRUE(
        printed("\n=== TARGET WRITE PROBE (current Md=1) ===\n  write F0Tg=3000: rc=0  read back 3000 ok=true\n"));
    EXPECT_TRUE(printed("\n=== Final state ===\nF0Md=1 F0Tg=4500 F0Ac="));
    EXPECT_TRUE(printed("\nRestoring originals\n"));
    expectFan0Restored(0, 1200.0f);

    // A mode that does not stick shows.
    rig.smc.writeU8("QFLT", SimulatedMac::modeReadsBackManual);
    out.str("");
    ASSERT_EQ(run(Mode::probe), ExitStatus::ok);
    EXPECT_TRUE(printed("  write F0Md=0: rc=0  read back 1 ok=true\n")) << output();
}

TEST_F(DiagToolTest, UnreachableSmcAborts)
{
    auto ctx = contextWithoutSmc();
    EXPECT_EQ(DiagTool::run(ctx, Mode::standard), ExitStatus::failed);
    EXPECT_EQ(output(),
        "=== Boilerhouse SMC Diagnostics ===\nrunning as root: false\n"
        "csmc_open failed: 0xffffffff\nSMC service not reachable. Aborting.\n");
}

} // namespace
