// `--power` in both executables, over captured power_supply trees, in both
// languages.
#include "support/ChildProcess.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using quillon::test::ChildProcess;

namespace {

const QStringList executables{QUILLON_HELPER_BIN, QUILLON_APP_BIN};

QString captured(const char* name)
{
    return QStringLiteral(QUILLON_FIXTURES "/power_supply/") + name;
}

// A settings file choosing the app's language, as XDG_CONFIG_HOME for a child.
class LanguageSetting {
public:
    explicit LanguageSetting(const char* language)
    {
        quillon::test::writeFile(
            m_home.filePath("quillon/Quillon.ini"), QByteArray("[General]\nappLanguage=") + language);
    }
    QStringList environment() const { return {"XDG_CONFIG_HOME=" + m_home.path()}; }

private:
    QTemporaryDir m_home;
};

TEST(PowerRole, PrintsTheFourReadingsAndTheStatusTextInTheChosenLanguage)
{
    const std::string readings = "current:           battery yes, on AC no, percentage 57, charging no\n"
                                 "batteryMetrics:    11874 mV, -1432 mA, 2881 mAh\n"
                                 "batteryFlow:       onBattery (17.0 W)\n"
                                 "renderPowerStatus: onBattery (57 %, minutes left 121)\n";
    const LanguageSetting english("en");
    const LanguageSetting german("de");
    for (const QString& program : executables) {
        SCOPED_TRACE(program.toStdString());
        const QStringList args{"--power", "--sysfs-root", captured("laptop-discharging")};
        const auto inEnglish = ChildProcess::run(program, args, english.environment());
        EXPECT_EQ(inEnglish.exitCode, 0) << inEnglish.err;
        EXPECT_EQ(inEnglish.out, readings + "text:              On battery · 57% · ~2:01 h left\n");
        const auto inGerman = ChildProcess::run(program, args, german.environment());
        EXPECT_EQ(inGerman.out, readings + "text:              Auf Akku · 57 % · noch ~2:01 h\n");
    }
}

TEST(PowerRole, APeripheralsBatteryLeavesADesktopWithoutOne)
{
    const LanguageSetting english("en");
    const auto result = ChildProcess::run(
        QUILLON_HELPER_BIN, {"--power", "--sysfs-root", captured("desktop-with-mouse")}, english.environment());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out,
        "current:           battery no, on AC yes, percentage none, charging no\n"
        "batteryMetrics:    0 mV, 0 mA, 0 mAh\n"
        "batteryFlow:       noBattery\n"
        "renderPowerStatus: fullOnAC\n"
        "text:              On power · battery full\n");
}

TEST(PowerRole, BadArgumentsAreRefusedBeforeAnythingIsRead)
{
    for (const QString& program : executables) {
        SCOPED_TRACE(program.toStdString());
        for (const QStringList& args : {QStringList{"--power", "--sysfs-root"}, QStringList{"--power", "--verbose"},
                 QStringList{"--power", "--sysfs-root", "/tmp", "extra"}}) {
            const auto result = ChildProcess::run(program, args);
            EXPECT_EQ(result.exitCode, 2) << args.join(' ').toStdString();
            EXPECT_NE(result.err.find("--power [--sysfs-root DIR]"), std::string::npos) << result.err;
            EXPECT_TRUE(result.out.empty());
        }
        const auto missing = ChildProcess::run(program, {"--power", "--sysfs-root", "/nonexistent/power_supply"});
        EXPECT_EQ(missing.exitCode, 1);
        EXPECT_NE(missing.err.find("/nonexistent/power_supply is not a directory"), std::string::npos) << missing.err;
    }
}

} // namespace
