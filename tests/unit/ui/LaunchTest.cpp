#include "app/Settings.h"
#include "ui/LaunchRecord.h"
#include "ui/LoginItem.h"
#include "ui/Relaunch.h"

#include "support/EventLoop.h"
#include "support/Files.h"
#include "support/LogCapture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using quillon::app::Settings;
using quillon::test::LogCapture;
using quillon::test::readFile;
using quillon::test::writeFile;
using quillon::ui::LaunchRecord;
using quillon::ui::LoginItem;

// A new or updated build presents itself once; relaunching it does not.
TEST(LaunchRecord, OnlyANewBuildOpensThePanel)
{
    QTemporaryDir dir;
    Settings settings(dir.path() + "/Quillon.conf");
    EXPECT_TRUE(LaunchRecord::recordLaunch(settings, "0.1.0"));
    EXPECT_FALSE(LaunchRecord::recordLaunch(settings, "0.1.0"));
    EXPECT_TRUE(LaunchRecord::recordLaunch(settings, "0.2.0"));
    EXPECT_EQ(settings.text(Settings::Key::lastLaunchedBuild), "0.2.0");
}

class LoginItemTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString home = dir.path() + "/home";
    QString system = dir.path() + "/etc";
    QString systemEntry = system + "/autostart/org.quillon.Quillon.desktop";
    LoginItem item{home, {system}, "/opt/Quillon Beta/bin/quillon"};
};

// On: an autostart entry that starts this executable, its path quoted as the
// desktop entry format wants. Off: the entry is gone.
TEST_F(LoginItemTest, WritesAndRemovesTheUsersAutostartEntry)
{
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.isEnabled());
    const QByteArray entry = readFile(item.userEntryPath());
    EXPECT_TRUE(entry.startsWith("[Desktop Entry]\n"));
    EXPECT_TRUE(entry.contains("\nExec=\"/opt/Quillon Beta/bin/quillon\"\n")) << entry.constData();
    EXPECT_TRUE(entry.contains("\nType=Application\n"));
    EXPECT_FALSE(entry.contains("Hidden=true"));

    ASSERT_TRUE(item.setEnabled(false));
    EXPECT_FALSE(QFile::exists(item.userEntryPath()));
    EXPECT_FALSE(item.isEnabled());
    EXPECT_TRUE(item.setEnabled(false)) << "switching off twice is no failure";
}

// Characters the shell would read are escaped inside the quotes, and each
// backslash once more for the entry's string syntax; a "%" is doubled, or the
// launcher would take "%f" in a path for a file argument.
TEST_F(LoginItemTest, QuotesAnExecutablePathWithSpecialCharacters)
{
    const QByteArray entry = LoginItem::entryFor(R"(/tmp/a "b" $c\d)");
    EXPECT_TRUE(entry.contains(R"(Exec="/tmp/a \\"b\\" \\$c\\\\d")")) << entry.constData();
    EXPECT_TRUE(LoginItem::entryFor("/usr/bin/quillon").contains("\nExec=/usr/bin/quillon\n"));
    EXPECT_TRUE(LoginItem::entryFor("/opt/100%full/quillon").contains("\nExec=/opt/100%%full/quillon\n"));
    EXPECT_TRUE(
        LoginItem::entryFor("/home/ada/my %f apps/quillon").contains("\nExec=\"/home/ada/my %%f apps/quillon\"\n"));
}

// A system-wide entry can only be masked, by a user entry with Hidden=true.
TEST_F(LoginItemTest, MasksASystemWideEntryToSwitchOff)
{
    ASSERT_TRUE(writeFile(systemEntry, "[Desktop Entry]\nType=Application\nName=Quillon\nExec=quillon\n"));
    EXPECT_TRUE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(false));
    EXPECT_TRUE(readFile(item.userEntryPath()).contains("\nHidden=true\n"));
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.isEnabled());
    EXPECT_FALSE(readFile(item.userEntryPath()).contains("Hidden=true"));
}

// Already on: nothing is rewritten. A failure is logged and reported.
TEST_F(LoginItemTest, ReportsAndLogsAFailure)
{
    ASSERT_TRUE(item.setEnabled(true));
    ASSERT_TRUE(writeFile(item.userEntryPath(), "[Desktop Entry]\nType=Application\nExec=/elsewhere/quillon\n"));
    EXPECT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(readFile(item.userEntryPath()).contains("/elsewhere/quillon"));

    ASSERT_TRUE(writeFile(dir.path() + "/blocked", "a file where the configuration directory should be"));
    LoginItem blocked(dir.path() + "/blocked", {}, "/usr/bin/quillon");
    LogCapture log;
    LogCapture::lines().clear();
    EXPECT_FALSE(blocked.setEnabled(true));
    EXPECT_FALSE(blocked.isEnabled());
    ASSERT_EQ(LogCapture::lines().size(), 1);
    EXPECT_TRUE(LogCapture::lines().first().startsWith("Quillon login-item toggle failed: "));
    EXPECT_TRUE(LogCapture::lines().first().contains("blocked")) << LogCapture::lines().first().toStdString();
}

} // namespace

namespace relaunch {

using quillon::ui::Relaunch;

// "Restart now" starts the same program with the same arguments, and tells
// it which process to wait for.
TEST(Relaunch, StartsTheProgramAgainWithItsArguments)
{
    QTemporaryDir dir;
    const QString out = dir.filePath("started");
    ASSERT_TRUE(Relaunch::start("/bin/sh",
        {"-c", QStringLiteral("echo \"$0 $1 $%1\" > '%2.tmp' && mv '%2.tmp' '%2'").arg(Relaunch::kWaitForVariable, out),
            "--demo", "two words"}));
    ASSERT_TRUE(quillon::test::waitUntil([&] { return QFileInfo::exists(out); }, std::chrono::seconds(5)));
    EXPECT_EQ(readFile(out).trimmed(),
        QStringLiteral("--demo two words %1").arg(QCoreApplication::applicationPid()).toUtf8());
    EXPECT_FALSE(Relaunch::start(dir.filePath("no-such-program"), {}));
}

// The new process waits for the old one to be gone, and no longer than that;
// a missing or garbled id is not waited for.
TEST(Relaunch, WaitsForThePredecessorToEnd)
{
    QProcess old;
    old.start("/bin/sleep", {"0.4"});
    ASSERT_TRUE(old.waitForStarted());
    qputenv(Relaunch::kWaitForVariable, QByteArray::number(old.processId()));
    QElapsedTimer waited;
    waited.start();
    // Nothing here reaps it: once it has ended, its zombie counts as gone.
    Relaunch::waitForPredecessor();
    EXPECT_GE(waited.elapsed(), 300);
    EXPECT_LT(waited.elapsed(), Relaunch::kWaitLimitMs);
    EXPECT_TRUE(qEnvironmentVariableIsEmpty(Relaunch::kWaitForVariable)) << "passed on to nobody";

    for (const char* garbage : {"", "abc", "1", "-5"}) {
        qputenv(Relaunch::kWaitForVariable, garbage);
        waited.restart();
        Relaunch::waitForPredecessor();
        EXPECT_LT(waited.elapsed(), 100) << garbage;
    }
}

} // namespace relaunch
