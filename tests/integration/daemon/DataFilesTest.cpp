#include "DaemonHarness.h"

#include "daemon/CallerAuthorization.h"
#include "smc/FanHandbackRecord.h"
#include "support/ChildProcess.h"
#include "support/Files.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

using quillon::daemon::CallerAuthorization;
using namespace quillon::test;

namespace {

const QString kName = "org.quillon.Quillon.smchelper";

// Installs the build into a staging root, as a package build does.
class InstalledFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        const auto install = ChildProcess::run(
            QUILLON_CMAKE_COMMAND, {"--install", QUILLON_BUILD_DIR}, {"DESTDIR=" + m_root.path()}, 120000);
        ASSERT_EQ(install.exitCode, 0) << install.out << install.err;
        const QRegularExpression prefix("^CMAKE_INSTALL_PREFIX:PATH=(.*)$", QRegularExpression::MultilineOption);
        m_prefix = m_root.path() + prefix.match(readFile(QUILLON_BUILD_DIR "/CMakeCache.txt")).captured(1);
    }

    QString installed(const QString& relativePath) const { return readFile(m_prefix + "/" + relativePath); }
    static QString valueOf(const QString& text, const QString& key)
    {
        return QRegularExpression("^" + key + "=(.*)$", QRegularExpression::MultilineOption).match(text).captured(1);
    }

    QTemporaryDir m_root;
    QString m_prefix;
};

TEST_F(InstalledFiles, UnitActivationFileAndPolkitActionsFitTogether)
{
    const QString unit = installed("lib/systemd/system/" + kName + ".service");
    EXPECT_EQ(valueOf(unit, "Type"), "dbus");
    EXPECT_EQ(valueOf(unit, "BusName"), kName);
    EXPECT_EQ(valueOf(unit, "Restart"), "on-failure");
    EXPECT_EQ(valueOf(unit, "RestartSec"), "1");
    const QString helper = valueOf(unit, "ExecStart").section(' ', 0, 0);
    EXPECT_EQ(valueOf(unit, "ExecStart"), helper + " --daemon");
    EXPECT_EQ(valueOf(unit, "ExecStopPost"), helper + " --release");
    EXPECT_TRUE(QFileInfo(m_root.path() + helper).isExecutable()) << "the unit runs the installed helper";
    EXPECT_EQ(valueOf(unit, "OOMScoreAdjust"), "-1000") << "the OOM killer never takes the hand-back away";
    // The hwmon fans' hand-back record outlives a crashed helper in the unit's own folder.
    EXPECT_EQ(valueOf(unit, "RuntimeDirectoryPreserve"), "yes");
    const char* runtime = std::getenv("RUNTIME_DIRECTORY");
    const std::string saved = runtime ? runtime : "";
    unsetenv("RUNTIME_DIRECTORY");
    EXPECT_EQ("/run/" + valueOf(unit, "RuntimeDirectory").toStdString() + "/hwmon-fans",
        quillon::smc::FanHandbackRecord::defaultPath());
    if (runtime)
        setenv("RUNTIME_DIRECTORY", saved.c_str(), 1);

    const QString activation = installed("share/dbus-1/system-services/" + kName + ".service");
    EXPECT_EQ(valueOf(activation, "Name"), kName);
    EXPECT_EQ(valueOf(activation, "User"), "root");
    EXPECT_EQ(valueOf(activation, "SystemdService"), kName + ".service");
    EXPECT_FALSE(installed("share/dbus-1/interfaces/" + kName + ".xml").isEmpty());

    // The actions polkit knows are the ones the helper asks about.
    const QString actions = installed("share/polkit-1/actions/" + kName + ".policy");
    for (const auto action : {CallerAuthorization::Action::controlFans, CallerAuthorization::Action::lidStayAwake}) {
        const QString id = CallerAuthorization::actionId(action);
        const QString defaults = actions.section("<action id=\"" + id + "\">", 1).section("</defaults>", 0, 0);
        EXPECT_TRUE(defaults.contains("<allow_any>no</allow_any>")) << id.toStdString();
        EXPECT_TRUE(defaults.contains("<allow_inactive>no</allow_inactive>")) << id.toStdString();
        EXPECT_TRUE(defaults.contains("<allow_active>yes</allow_active>")) << id.toStdString();
    }
}

// The installed bus policy on a bus that denies by default, as the system
// bus does: only root serves the name, anyone may call the helper.
TEST_F(InstalledFiles, OnlyRootOwnsTheNameButAnyoneMayCall)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to own the name and to act as another uid";
    PrivateBus bus("<include>" + m_prefix + "/share/dbus-1/system.d/" + kName + ".conf</include>", true);
    ASSERT_TRUE(bus.ready());
    HelperRig rig;
    const QStringList onPolicyBus{"QUILLON_HELPER_BUS=" + bus.address(), "DBUS_SYSTEM_BUS_ADDRESS=" + bus.address()};

    const QString asNobody = runAsUser(kNobody, QUILLON_HELPER_BIN, {"--daemon"}, onPolicyBus);
    EXPECT_TRUE(asNobody.contains("cannot own org.quillon.Quillon.smchelper")) << asNobody.toStdString();

    ASSERT_TRUE(rig.startHelper(onPolicyBus)) << rig.helperLog().toStdString();
    EXPECT_TRUE(callAsUser(kNobody, bus.address(), kName + ".Ping").contains("Quillon daemon alive"));
    const QString out
        = callAsUser(kNobody, bus.address(), "org.freedesktop.DBus.Properties.GetAll", {"string:" + kName});
    EXPECT_TRUE(out.contains("org.freedesktop.DBus.Error.AccessDenied")) << out.toStdString();
}

} // namespace
