#include "smc/SharedSimClient.h"
#include "smc/SmcConnection.h"
#include "support/ChildProcess.h"
#include "support/SimServerProcess.h"

#include <gtest/gtest.h>

#include <QFile>

#include <regex>
#include <thread>

using quillon::test::ChildProcess;
using quillon::test::SimServerProcess;

namespace {

const QString helper = QUILLON_HELPER_BIN;
const QString app = QUILLON_APP_BIN;

double hottest(const std::string& tempsOutput)
{
    std::smatch m;
    if (!std::regex_search(tempsOutput, m, std::regex(R"(Heißester Safety-Sensor: \w{4} = ([\d.]+)°C)")))
        return -1;
    return std::stod(m[1]);
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// What each tool prints without an SMC is the tools' unit tests' business;
// here, that both executables reach them and fail.
TEST(CommandLine, WithoutAnSmcEveryToolSaysSoAndFails)
{
    for (const QString& program : {helper, app}) {
        for (const QStringList& args : {QStringList{"--temps"}, {"--diag"}, {"--smc-write", "u8:QLOD", "1"}}) {
            const auto result = ChildProcess::run(program, args, {"QUILLON_SMC"});
            EXPECT_EQ(result.exitCode, 1) << args.join(' ').toStdString();
            EXPECT_TRUE(contains(result.out, "csmc_open failed: 0xffffffff\n")) << result.out;
        }
    }
    auto bogus = ChildProcess::run(helper, {"--temps"}, {"QUILLON_SMC=simulator"});
    EXPECT_EQ(bogus.exitCode, 1);
    EXPECT_TRUE(contains(bogus.err, "QUILLON_SMC=simulator is not understood")) << bogus.err;
}

TEST(CommandLine, UsageErrorsExitWithTwo)
{
    const QStringList sim{"QUILLON_SMC=sim"};
    auto shortWrite = ChildProcess::run(helper, {"--smc-write", "u8:QLOD"}, sim);
    EXPECT_EQ(shortWrite.exitCode, 2);
    EXPECT_TRUE(contains(shortWrite.err, "--smc-write KEY VALUE")) << shortWrite.err;
    auto badDiag = ChildProcess::run(helper, {"--diag", "dump"}, sim);
    EXPECT_EQ(badDiag.exitCode, 2);
    EXPECT_TRUE(contains(badDiag.err, "unknown --diag mode: dump")) << badDiag.err;
    auto badValue = ChildProcess::run(helper, {"--smc-write", "u8:QLOD", "999"}, sim);
    EXPECT_EQ(badValue.exitCode, 2);
    EXPECT_EQ(badValue.out, "bad u8 value: 999\n");
    auto nothing = ChildProcess::run(helper, {}, sim);
    EXPECT_EQ(nothing.exitCode, 2);
    EXPECT_TRUE(contains(nothing.err, "Usage:"));
    auto help = ChildProcess::run(helper, {"--help"}, sim);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(contains(help.out, "QUILLON_SMC=sim:/path/to.sock"));
}

TEST(CommandLine, PrivateSimulatorAnswersTheTools)
{
    auto temps = ChildProcess::run(helper, {"--temps"}, {"QUILLON_SMC=sim"});
    EXPECT_EQ(temps.exitCode, 0);
    EXPECT_TRUE(contains(temps.out, "  Tp05 ")) << temps.out;
    EXPECT_GT(hottest(temps.out), 30.0) << temps.out;
    auto dump = ChildProcess::run(app, {"--diag", "--dumpkeys"}, {"QUILLON_SMC=sim"});
    EXPECT_EQ(dump.exitCode, 0);
    EXPECT_TRUE(contains(dump.out, "] #KEY  ui32  bytes=[00 00 00 ")) << dump.out;
}

// Load written by one process heats what another process reads.
TEST(SharedSimulator, LoadFromOneProcessHeatsTheMacForAnother)
{
    SimServerProcess server;
    ASSERT_TRUE(server.ready);
    const double before = hottest(ChildProcess::run(helper, {"--temps"}, server.env()).out);
    ASSERT_GT(before, 0);
    auto write = ChildProcess::run(helper, {"--smc-write", "u8:QLOD", "100"}, server.env());
    ASSERT_EQ(write.exitCode, 0) << write.out;
    EXPECT_EQ(write.out, "write QLOD = 100 (u8)\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(2000));
    const double after = hottest(ChildProcess::run(app, {"--temps"}, server.env()).out);
    EXPECT_GT(after, before + 5.0) << before << " -> " << after;
    EXPECT_EQ(server.stop(), 0);
    EXPECT_FALSE(QFile::exists(server.path));
}

// The forced write spins fan 0 up, and the printout leaves mode and target as
// it found them.
TEST(SharedSimulator, DiagForcedWriteWorksAndRestores)
{
    SimServerProcess server;
    ASSERT_TRUE(server.ready);
    quillon::smc::SmcConnection observer(std::make_unique<quillon::smc::SharedSimClient>(server.path.toStdString()));
    const int modeBefore = observer.readU8("F0Md");
    const float targetBefore = observer.readFlt("F0Tg");
    const float minimum = observer.readFlt("F0Mn");

    auto diag = ChildProcess::run(helper, {"--diag"}, server.env());
    ASSERT_EQ(diag.exitCode, 0) << diag.out;
    std::smatch m;
    ASSERT_TRUE(std::regex_search(diag.out, m, std::regex(R"(F0Ac \(current\) = (\d+) rpm  <-- if this jumped)")))
        << diag.out;
    EXPECT_GT(std::stod(m[1]), minimum + 2000.0) << diag.out;
    EXPECT_TRUE(contains(diag.out, "\n=== Done ===\n"));
    EXPECT_EQ(observer.readU8("F0Md"), modeBefore);
    EXPECT_EQ(observer.readFlt("F0Tg"), targetBefore);
}

TEST(Executables, HelperLoadsNoGuiLibrary)
{
    auto ldd = ChildProcess::run("ldd", {helper});
    ASSERT_EQ(ldd.exitCode, 0) << ldd.err;
    for (const char* gui : {"libQt6Gui", "libQt6Widgets", "libQt6Quick", "libQt6Qml", "libX11", "libGL"})
        EXPECT_FALSE(contains(ldd.out, gui)) << gui << " in\n" << ldd.out;
}

} // namespace
