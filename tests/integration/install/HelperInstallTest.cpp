#include "app/install/HelperInstaller.h"
#include "app/install/Uninstaller.h"
#include "platform/linux/PkexecRunner.h"

#include "support/EventLoop.h"
#include "support/Files.h"
#include "support/PrivateBus.h"
#include "support/QStringPrinter.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDirIterator>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace quillon::app;
using namespace quillon::test;
using quillon::platform::linux_::PkexecRunner;
using namespace std::chrono_literals;

namespace {

const QString kName = "org.quillon.Quillon.smchelper";

QString standIn(const QString& path, const QByteArray& body)
{
    writeFile(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

// Every file under root with its bytes.
QMap<QString, QByteArray> filesUnder(const QString& root)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(path.mid(root.size()), readFile(path));
    }
    return files;
}

// The real scripts, through a pkexec stand-in that grants at once, into a
// temporary root; a systemctl stand-in that fails every call, as it does
// where systemd is not running; and a private bus reading that root's bus
// policy and activation folders, as the system bus reads the real ones.
class RealInstall : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (::geteuid() != 0)
            GTEST_SKIP() << "the scripts give the files to root";
        ensureCoreApplication();
        qDBusRegisterMetaType<QMap<QString, QString>>();
        ASSERT_TRUE(bus.ready());
        // What the bus hands the helpers it starts: its own address as the system bus, a simulated Mac.
        QDBusMessage call = QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "UpdateActivationEnvironment");
        call << QVariant::fromValue(QMap<QString, QString>{
            {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}, {"QUILLON_HELPER_BUS", bus.address()}, {"QUILLON_SMC", "sim"}});
        const QDBusMessage reply = bus.connection().call(call);
        ASSERT_NE(reply.type(), QDBusMessage::ErrorMessage) << reply.errorMessage().toStdString();
        m_savedBus = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
        // Files of others in the same folders, which must stay untouched.
        ASSERT_TRUE(writeFile(root + "/usr/share/polkit-1/actions/org.other.policy", "<policyconfig/>"));
        ASSERT_TRUE(writeFile(root + "/etc/dbus-1/system.d/org.other.conf", "<busconfig/>"));
    }
    void TearDown() override
    {
        if (const auto pid = helperPid())
            ::kill(static_cast<pid_t>(*pid), SIGKILL);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_savedBus);
    }

    InstallResult waitFor(const std::function<void(std::function<void(const InstallResult&)>)>& start)
    {
        std::optional<InstallResult> outcome;
        start([&](const InstallResult& result) { outcome = result; });
        EXPECT_TRUE(waitUntil([&] { return outcome.has_value(); }, 60s));
        return outcome.value_or(InstallResult::failed("no outcome"));
    }
    InstallResult install(const QString& source)
    {
        HelperInstaller installer(runner, source, layout);
        return waitFor([&](auto done) { installer.install(done); });
    }
    InstallResult uninstall(const AppOrigin& origin = {})
    {
        Uninstaller uninstaller(runner, origin, layout);
        return waitFor([&](auto done) { uninstaller.performPrivilegedRemoval(done); });
    }
    // Copies the built helper to a folder whose name asks for trouble, with extra bytes when told.
    QString helperIn(const QString& folder, const QByteArray& extra = {})
    {
        const QString path = dir.path() + "/" + folder + "/quillon-helper";
        EXPECT_TRUE(writeFile(path, readFile(QUILLON_HELPER_BIN) + extra));
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    std::optional<uint> helperPid()
    {
        if (!bus.ready())
            return std::nullopt;
        const QDBusReply<uint> pid = bus.connection().interface()->servicePid(kName);
        return pid.isValid() ? std::optional<uint>(pid.value()) : std::nullopt;
    }
    QString ping()
    {
        QDBusInterface helper(kName, "/org/quillon/Quillon/smchelper", kName, bus.connection());
        helper.setTimeout(20000);
        const QDBusMessage reply = helper.call("Ping");
        return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(1).toString()
                                                          : reply.errorMessage();
    }
    static QString exeOf(uint pid) { return QFileInfo("/proc/" + QString::number(pid) + "/exe").symLinkTarget(); }

    QTemporaryDir dir;
    QString root = dir.path() + "/root";
    QString systemctlLog = dir.path() + "/systemctl.log";
    HelperLayout layout{root,
        standIn(dir.path() + "/systemctl",
            "echo \"$*\" >> '" + systemctlLog.toUtf8()
                + "'\necho 'System has not been booted with systemd' >&2\nexit 1\n")};
    PkexecRunner runner{standIn(dir.path() + "/pkexec", "shift\nexec \"$@\"\n")};
    PrivateBus bus{"<includedir>" + root + "/etc/dbus-1/system.d</includedir><servicedir>" + root
            + "/usr/local/share/dbus-1/system-services</servicedir>",
        true};
    QByteArray m_savedBus;
};

TEST_F(RealInstall, InstallStartsTheHelperByActivationUpdateReplacesItUninstallLeavesNoTrace)
{
    const auto before = filesUnder(root);

    const QString first = helperIn("it's a \"build\" \\ dir\nwith two lines");
    const InstallResult installed = install(first);
    ASSERT_EQ(installed.kind, InstallResult::Kind::success) << installed.message.toStdString();
    for (const QString& file : layout.files()) {
        struct stat info { };
        ASSERT_EQ(::stat(file.toLocal8Bit().constData(), &info), 0) << file.toStdString();
        EXPECT_EQ(info.st_uid, 0u) << file.toStdString();
        EXPECT_EQ(info.st_mode & 07777, file == layout.helperPath() ? 0755u : 0644u) << file.toStdString();
    }
    EXPECT_EQ(readFile(layout.helperPath()), readFile(first));
    EXPECT_TRUE(readFile(layout.unitPath()).contains("ExecStart=" + layout.helperPath().toUtf8() + " --daemon"));
    const auto running = helperPid();
    ASSERT_TRUE(running) << "the install's Ping started the helper";
    EXPECT_EQ(exeOf(*running), layout.helperPath());
    EXPECT_TRUE(ping().startsWith("Quillon daemon alive")) << ping().toStdString();
    // The service manager was asked, failed every time, and stopped nothing.
    const QByteArray calls = readFile(systemctlLog);
    for (const QByteArray& call :
        QList<QByteArray>{"daemon-reload", "enable " + kName.toUtf8(), "stop " + kName.toUtf8()})
        EXPECT_TRUE(calls.contains(call)) << calls.toStdString();

    // An update replaces the running helper's file and the helper itself.
    const QString second = helperIn("v2", "\nnewer build");
    ASSERT_EQ(install(second).kind, InstallResult::Kind::success);
    EXPECT_EQ(readFile(layout.helperPath()), readFile(second));
    const auto updated = helperPid();
    ASSERT_TRUE(updated);
    EXPECT_NE(*updated, *running);
    EXPECT_FALSE(QFileInfo::exists("/proc/" + QString::number(*running))) << "the old helper is gone";
    EXPECT_EQ(exeOf(*updated), layout.helperPath());

    // Removal stops the helper and takes every file the installs put down.
    ASSERT_EQ(uninstall().kind, InstallResult::Kind::success);
    EXPECT_FALSE(helperPid());
    EXPECT_EQ(filesUnder(root), before);
    EXPECT_FALSE(QFileInfo::exists(layout.helperDir()));
    // ... and finds nothing to do the second time, which is no error.
    EXPECT_EQ(uninstall().kind, InstallResult::Kind::success);
}

TEST_F(RealInstall, ScriptFailingMidwayLeavesTheSystemAsItWas)
{
    // A file where the polkit actions folder belongs: the fifth file cannot be copied.
    ASSERT_TRUE(QDir(root + "/usr/share/polkit-1/actions").removeRecursively());
    ASSERT_TRUE(writeFile(root + "/usr/share/polkit-1/actions", "in the way"));
    const auto before = filesUnder(root);
    const InstallResult failed = install(helperIn("app"));
    EXPECT_EQ(failed.kind, InstallResult::Kind::failed);
    EXPECT_TRUE(failed.message.contains("mkdir")) << failed.message.toStdString();
    EXPECT_EQ(filesUnder(root), before);
    EXPECT_FALSE(helperPid());
}

// A half install goes, and a local install as its manifest names it, read as
// the app would read it: nothing outside its prefix, though the manifest
// names such files too.
TEST_F(RealInstall, RemovalCleansUpAHalfInstallAndALocalInstallButNothingOutsideItsPrefix)
{
    const QString precious = root + "/etc/precious.conf";
    ASSERT_TRUE(writeFile(precious, "keep"));
    const auto before = filesUnder(root);
    ASSERT_TRUE(writeFile(layout.unitPath(), "[Service]\n"));
    const QString prefix = root + "/opt/quillon prefix";
    const QString app = prefix + "/bin/quillon";
    const QString desktop = prefix + "/share/applications/org.quillon.Quillon.desktop";
    for (const QString& file : {app, desktop})
        ASSERT_TRUE(writeFile(file, "x"));
    ASSERT_TRUE(writeFile(prefix + "/share/quillon/install_manifest.txt",
        (app + "\n" + desktop + "\n" + precious + "\n" + prefix + "/../../etc/precious.conf\n").toUtf8()));
    const AppOrigin origin = AppOrigin::detect(app, {}, {0, dir.path()});
    ASSERT_EQ(origin.kind, AppOrigin::Kind::localInstall);

    ASSERT_EQ(uninstall(origin).kind, InstallResult::Kind::success);
    EXPECT_EQ(filesUnder(root), before);
    EXPECT_EQ(readFile(precious), "keep");
    EXPECT_FALSE(QFileInfo::exists(prefix + "/share/quillon"));
    EXPECT_TRUE(QFileInfo(prefix + "/bin").isDir()) << "a shared folder stays, empty or not";
}

// While the password dialog is open, another process of the same user
// rewrites or relinks everything it can reach; root installs what the app
// checked or nothing at all.
TEST_F(RealInstall, ASameUserProcessRacingThePromptChangesNothingRootDoes)
{
    const QString go = dir.path() + "/typed";
    const QString asking = dir.path() + "/asking";
    // pkexec as a person meets it: it waits for the password before root runs anything.
    PkexecRunner slow{standIn(dir.path() + "/pkexec-slow",
        "touch '" + asking.toUtf8() + "'\nwhile [ ! -e '" + go.toUtf8()
            + "' ]; do sleep 0.05; done\nshift\nexec \"$@\"\n")};
    QTemporaryDir userTmp;
    const QByteArray savedTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", userTmp.path().toUtf8());
    const auto before = filesUnder(root);

    struct Tamper {
        const char* what;
        std::function<void(const QString& helper)> act;
    };
    const QString decoy = helperIn("decoy", "\nnot what the app checked");
    const QList<Tamper> tampering{
        {"the helper rewritten",
            [](const QString& helper) {
                writeFile(helper, "#!/bin/sh\necho not the app's helper\n");
            }},
        {"the helper turned into a link",
            [&](const QString& helper) {
                QFile::remove(helper);
                QFile::link(decoy, helper);
            }},
        {"the helper turned into a link to the very same bytes",
            [&](const QString& helper) {
                const QString same = helper + ".same";
                QFile::copy(helper, same);
                QFile::remove(helper);
                QFile::link(same, helper);
            }},
    };
    for (const Tamper& tamper : tampering) {
        QFile::remove(go);
        QFile::remove(asking);
        const QString helper = helperIn(QString("app-%1").arg(&tamper - tampering.data()));
        std::optional<InstallResult> outcome;
        HelperInstaller installer(slow, helper, layout);
        installer.install([&](const InstallResult& result) { outcome = result; });
        ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(asking); }, 10s));
        EXPECT_TRUE(QDir(userTmp.path()).isEmpty()) << "nothing staged where the user can write";
        tamper.act(helper);
        writeFile(go, "");
        ASSERT_TRUE(waitUntil([&] { return outcome.has_value(); }, 60s));
        EXPECT_EQ(outcome->kind, InstallResult::Kind::failed) << tamper.what;
        EXPECT_FALSE(outcome->message.isEmpty()) << tamper.what;
        EXPECT_EQ(filesUnder(root), before) << tamper.what << ": nothing was put down";
        EXPECT_FALSE(helperPid()) << tamper.what;
    }

    // Untouched, the same slow prompt installs exactly what the app checked.
    QFile::remove(go);
    QFile::remove(asking);
    const QString helper = helperIn("untouched");
    std::optional<InstallResult> outcome;
    HelperInstaller installer(slow, helper, layout);
    installer.install([&](const InstallResult& result) { outcome = result; });
    ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(asking); }, 10s));
    writeFile(go, "");
    ASSERT_TRUE(waitUntil([&] { return outcome.has_value(); }, 60s));
    EXPECT_EQ(outcome->kind, InstallResult::Kind::success) << outcome->message.toStdString();
    EXPECT_EQ(readFile(layout.helperPath()), readFile(helper));
    qputenv("TMPDIR", savedTmp);
}

} // namespace
