#include "app/install/HelperInstaller.h"

#include "app/install/RootScript.h"

#include "support/ChildProcess.h"
#include "support/FakeRunner.h"
#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace quillon::app;
using namespace quillon::test;
using Run = quillon::platform::PrivilegedRunner::Result::Kind;

namespace {

class Installer : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(writeFile(bundled, "helper bytes")); }

    InstallResult install(HelperInstaller& installer)
    {
        InstallResult outcome = InstallResult::failed("never answered");
        int answers = 0;
        installer.install([&](const InstallResult& result) {
            outcome = result;
            ++answers;
        });
        EXPECT_EQ(answers, 1);
        return outcome;
    }

    QTemporaryDir dir;
    QString bundled = dir.path() + "/app/quillon-helper";
    HelperLayout layout{dir.path() + "/root"};
    FakeRunner runner;
};

TEST_F(Installer, NothingRunsWithoutAReadableHelperOrAPlainDestination)
{
    HelperInstaller missing(runner, dir.path() + "/elsewhere/quillon-helper", layout);
    InstallResult result = install(missing);
    EXPECT_EQ(result.kind, InstallResult::Kind::failed);
    EXPECT_TRUE(result.message.contains("helper binary not found")) << result.message.toStdString();
    EXPECT_TRUE(result.message.contains(dir.path() + "/elsewhere/quillon-helper")) << result.message.toStdString();

    // A destination the unit file could not carry is refused before anything runs.
    HelperInstaller spaced(runner, bundled, HelperLayout(dir.path() + "/with space"));
    EXPECT_EQ(install(spaced).kind, InstallResult::Kind::failed);

    // A helper the app cannot read has no digest to hold root's copy to.
    ASSERT_TRUE(QFile::setPermissions(bundled, QFileDevice::WriteOwner));
    if (!QFile(bundled).open(QIODevice::ReadOnly)) {
        HelperInstaller unreadable(runner, bundled, layout);
        result = install(unreadable);
        EXPECT_EQ(result.kind, InstallResult::Kind::failed);
        EXPECT_TRUE(result.message.contains("Could not read the helper")) << result.message.toStdString();
    }
    EXPECT_EQ(runner.runs, 0);
}

TEST_F(Installer, InstalledMeansHelperAndUnitBoth)
{
    HelperInstaller installer(runner, bundled, layout);
    EXPECT_FALSE(installer.isInstalled());
    ASSERT_TRUE(writeFile(layout.helperPath(), "x"));
    EXPECT_FALSE(installer.isInstalled());
    ASSERT_TRUE(QFile::remove(layout.helperPath()));
    ASSERT_TRUE(writeFile(layout.unitPath(), "x"));
    EXPECT_FALSE(installer.isInstalled());
    ASSERT_TRUE(writeFile(layout.helperPath(), "x"));
    EXPECT_TRUE(installer.isInstalled());
}

// The helper that ships with the app: beside it in a build tree, in
// libexec/quillon when installed under a prefix.
TEST_F(Installer, FindsTheHelperThatShipsWithTheApp)
{
    EXPECT_EQ(HelperInstaller::bundledHelperFor(dir.path() + "/app"), bundled);
    ASSERT_TRUE(writeFile(dir.path() + "/usr/libexec/quillon/quillon-helper", "x"));
    ASSERT_TRUE(QDir().mkpath(dir.path() + "/usr/bin"));
    EXPECT_EQ(
        HelperInstaller::bundledHelperFor(dir.path() + "/usr/bin"), dir.path() + "/usr/libexec/quillon/quillon-helper");
}

// Whatever a path holds reaches the command as one unchanged argument.
TEST(RootScriptQuoting, EveryPathSurvivesTheShell)
{
    for (const QString path : {"/plain/path", "/Users/it's mine/Quillon", "/a 'b' \"c\" \\d $HOME `id` *",
             "/line\nfeed", "'", "''", "/trailing\\"}) {
        const auto out = ChildProcess::run("/bin/sh", {"-c", "printf '%s|' " + RootScript::quote(path)});
        EXPECT_EQ(QString::fromStdString(out.out), path + "|") << path.toStdString();
    }
}

// Root gets everything in the script's own text: the data files word for
// word and the digest the helper must have; nothing is left for another
// process of the user to rewrite while the password is asked for. A
// dismissed password dialog is a cancel, a failure carries root's words.
TEST_F(Installer, TheScriptCarriesTheDataFilesAndTheHelpersDigest)
{
    QTemporaryDir tmp;
    const QByteArray saved = qgetenv("TMPDIR");
    qputenv("TMPDIR", tmp.path().toUtf8());
    HelperInstaller installer(runner, bundled, layout);
    const InstallResult result = install(installer);
    qputenv("TMPDIR", saved);
    ASSERT_EQ(result.kind, InstallResult::Kind::success);
    EXPECT_TRUE(QDir(tmp.path()).isEmpty()) << "nothing staged where the user can write";
    EXPECT_FALSE(runner.script.contains(tmp.path()));
    EXPECT_TRUE(runner.script.contains(QCryptographicHash::hash("helper bytes", QCryptographicHash::Sha256).toHex()));
    EXPECT_TRUE(runner.script.contains("ExecStart=" + layout.helperPath() + " --daemon"));
    EXPECT_TRUE(runner.script.contains("<policyconfig>")) << "the polkit actions travel in the script";

    runner.next = {Run::dismissed, {}};
    EXPECT_EQ(install(installer).kind, InstallResult::Kind::cancelled);
    runner.next = {Run::failed, "cp: cannot create regular file 'x': Read-only file system"};
    const InstallResult failed = install(installer);
    EXPECT_EQ(failed.kind, InstallResult::Kind::failed);
    EXPECT_EQ(failed.message, "cp: cannot create regular file 'x': Read-only file system");
    EXPECT_EQ(runner.runs, 3);
}

} // namespace
