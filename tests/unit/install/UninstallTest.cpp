#include "app/Translations.h"
#include "app/install/UninstallFlow.h"
#include "app/install/Uninstaller.h"

#include "support/EventLoop.h"
#include "support/FakeRunner.h"
#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QPromise>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace quillon::app;
using namespace quillon::test;
using Run = quillon::platform::PrivilegedRunner::Result::Kind;
using State = UninstallFlow::State;

namespace {

class Uninstall : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const QString& path : {traces.settingsFile, traces.settingsFile + ".corrupt", traces.autostartEntry,
                 traces.cacheDir + "/icons/x.png"})
            ASSERT_TRUE(writeFile(path, "x"));
    }
    bool anyTraceLeft() const
    {
        return QFileInfo::exists(traces.settingsFile) || QFileInfo::exists(traces.settingsFile + ".corrupt")
            || QFileInfo::exists(traces.autostartEntry) || QFileInfo::exists(traces.cacheDir);
    }

    QTemporaryDir dir;
    Uninstaller::UserTraces traces{dir.path() + "/config/quillon/Quillon.ini",
        dir.path() + "/config/autostart/org.quillon.Quillon.desktop", dir.path() + "/cache/quillon"};
    FakeRunner runner;
    Uninstaller uninstaller{runner, AppOrigin{}, HelperLayout(dir.path() + "/root")};
    UninstallFlow flow{uninstaller, traces};
};

TEST_F(Uninstall, RemovedThenTheUsersTracesGoAndTheAppQuits)
{
    QSignalSpy quit(&flow, &UninstallFlow::quitRequested);
    EXPECT_EQ(flow.title(), "Really uninstall Quillon?");
    EXPECT_EQ(flow.acceptLabel(), "Uninstall");
    EXPECT_EQ(flow.cancelLabel(), "Cancel");
    flow.accept();
    EXPECT_EQ(runner.runs, 1);
    EXPECT_EQ(flow.state(), State::removed);
    EXPECT_EQ(flow.title(), "Quillon has been removed");
    EXPECT_EQ(flow.acceptLabel(), "Quit");
    EXPECT_TRUE(flow.cancelLabel().isEmpty());
    EXPECT_FALSE(anyTraceLeft());
    EXPECT_TRUE(QFileInfo::exists(dir.path() + "/config/autostart")) << "only our entry goes";
    EXPECT_EQ(quit.count(), 0);
    flow.accept();
    EXPECT_EQ(quit.count(), 1);
}

TEST_F(Uninstall, CancelledOrFailedKeepsEverything)
{
    runner.next = {Run::dismissed, {}};
    flow.accept();
    EXPECT_EQ(flow.state(), State::closed);

    UninstallFlow failing(uninstaller, traces);
    runner.next = {Run::failed, {}};
    failing.accept();
    EXPECT_EQ(failing.state(), State::failed);
    EXPECT_EQ(failing.title(), "Uninstall failed");
    EXPECT_EQ(failing.text(), "unbekannter Fehler");

    UninstallFlow refused(uninstaller, traces);
    runner.next = {Run::failed, "Error executing command as another user: Not authorized"};
    refused.accept();
    EXPECT_EQ(refused.text(), "Error executing command as another user: Not authorized");
    EXPECT_TRUE(QFileInfo::exists(traces.settingsFile));
    EXPECT_TRUE(QFileInfo::exists(traces.autostartEntry));
    EXPECT_TRUE(QFileInfo::exists(traces.cacheDir));

    UninstallFlow declined(uninstaller, traces);
    declined.cancel();
    EXPECT_EQ(declined.state(), State::closed);
    EXPECT_EQ(runner.runs, 3);
}

// How the app came decides how it goes.
TEST_F(Uninstall, OriginOfTheApp)
{
    const QString prefix = dir.path() + "/prefix";
    const QString app = prefix + "/bin/quillon";
    ASSERT_TRUE(writeFile(app, "app"));
    const auto noPackage = [](const QString&) {
        return QString();
    };
    const AppOrigin::ManifestTrust ours{static_cast<uint>(::geteuid()), dir.path()};

    EXPECT_EQ(AppOrigin::detect(app, noPackage, ours).kind, AppOrigin::Kind::buildTree);
    const AppOrigin packaged = AppOrigin::detect(
        app, [&](const QString& path) { return path == app ? QStringLiteral("quillon") : QString(); });
    EXPECT_EQ(packaged.kind, AppOrigin::Kind::package);
    EXPECT_EQ(packaged.package, "quillon");

    const QString manifest = prefix + "/share/quillon/install_manifest.txt";
    ASSERT_TRUE(writeFile(manifest, (prefix + "/share/doc/other\n").toUtf8()));
    EXPECT_EQ(AppOrigin::detect(app, noPackage, ours).kind, AppOrigin::Kind::buildTree)
        << "a manifest not naming the app";
    ASSERT_TRUE(
        writeFile(manifest, (app + "\n" + prefix + "/share/applications/org.quillon.Quillon.desktop\n").toUtf8()));
    const AppOrigin local = AppOrigin::detect(app, noPackage, ours);
    EXPECT_EQ(local.kind, AppOrigin::Kind::localInstall);
    EXPECT_EQ(local.prefix, QFileInfo(prefix).canonicalFilePath());
    EXPECT_EQ(local.files,
        QStringList({app, prefix + "/share/applications/org.quillon.Quillon.desktop",
            QFileInfo(manifest).canonicalFilePath()}));
}

// Root deletes what the manifest lists, so only a manifest nobody but its
// owner could have written counts, and only its lines below the prefix.
TEST_F(Uninstall, OnlyATrustedManifestAndOnlyBelowItsPrefix)
{
    const QString prefix = QFileInfo(dir.path()).canonicalFilePath() + "/prefix";
    const QString app = prefix + "/bin/quillon";
    const QString manifest = prefix + "/share/quillon/install_manifest.txt";
    const QString outside = dir.path() + "/etc/precious";
    ASSERT_TRUE(writeFile(app, "app"));
    ASSERT_TRUE(writeFile(prefix + "/libexec/quillon/quillon-helper", "helper"));
    ASSERT_TRUE(writeFile(manifest,
        (outside + "\n" + app + "\n" + prefix + "/../etc/precious\n" + prefix + "/libexec/quillon/quillon-helper\n"
            + "relative/path\n" + prefix + "x/bin/quillon\n" + app + "\n")
            .toUtf8()));
    const auto noPackage = [](const QString&) {
        return QString();
    };
    const AppOrigin::ManifestTrust ours{static_cast<uint>(::geteuid()), dir.path()};

    const AppOrigin local = AppOrigin::detect(app, noPackage, ours);
    ASSERT_EQ(local.kind, AppOrigin::Kind::localInstall);
    EXPECT_EQ(local.files, QStringList({app, prefix + "/libexec/quillon/quillon-helper", manifest}));
    // Folders named for the app go once empty; bin/, libexec/ and share/ are everyone's.
    EXPECT_EQ(local.ownFolders(), QStringList({prefix + "/libexec/quillon", prefix + "/share/quillon"}));

    const auto refused = [&](const char* why) {
        EXPECT_EQ(AppOrigin::detect(app, noPackage, ours).kind, AppOrigin::Kind::buildTree) << why;
    };
    EXPECT_EQ(AppOrigin::detect(app, noPackage, {static_cast<uint>(::geteuid()) + 1, dir.path()}).kind,
        AppOrigin::Kind::buildTree)
        << "another owner's manifest";
    EXPECT_EQ(AppOrigin::detect(app, noPackage).kind, AppOrigin::Kind::buildTree)
        << "the system's trust reaches up to /, and /tmp is everyone's";
    QFile::setPermissions(manifest, QFile::permissions(manifest) | QFileDevice::WriteGroup);
    refused("a manifest the group may write");
    QFile::setPermissions(manifest, QFile::permissions(manifest) & ~QFileDevice::WriteGroup);
    const QString share = prefix + "/share";
    QFile::setPermissions(share, QFile::permissions(share) | QFileDevice::WriteOther);
    refused("a folder above it that others may write");
    QFile::setPermissions(share, QFile::permissions(share) & ~QFileDevice::WriteOther);
    EXPECT_EQ(AppOrigin::detect(app, noPackage, ours).kind, AppOrigin::Kind::localInstall);
}

// A link among the user's traces goes as a link; what it points to stays.
TEST_F(Uninstall, LinkedTracesAreRemovedAsLinks)
{
    const QString elsewhere = dir.path() + "/elsewhere";
    ASSERT_TRUE(writeFile(elsewhere + "/keep.txt", "keep"));
    ASSERT_TRUE(writeFile(elsewhere + "/deeper/keep.txt", "keep"));
    ASSERT_TRUE(writeFile(dir.path() + "/dotfiles/Quillon.ini", "[General]"));
    ASSERT_TRUE(QDir(traces.cacheDir).removeRecursively());
    ASSERT_TRUE(QFile::link(elsewhere, traces.cacheDir));
    ASSERT_TRUE(QFile::remove(traces.settingsFile));
    ASSERT_TRUE(QFile::link(dir.path() + "/dotfiles/Quillon.ini", traces.settingsFile));
    // and a link inside a folder of ours
    const QString realCache = dir.path() + "/cache2/quillon";
    ASSERT_TRUE(QDir().mkpath(realCache));
    ASSERT_TRUE(QFile::link(elsewhere + "/deeper", realCache + "/icons"));

    Uninstaller::clearUserTraces({traces.settingsFile, traces.autostartEntry, traces.cacheDir});
    Uninstaller::clearUserTraces({{}, {}, realCache});
    EXPECT_FALSE(QFileInfo(traces.cacheDir).isSymLink());
    EXPECT_FALSE(QFileInfo(traces.settingsFile).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(realCache));
    EXPECT_EQ(readFile(elsewhere + "/keep.txt"), "keep");
    EXPECT_EQ(readFile(elsewhere + "/deeper/keep.txt"), "keep");
    EXPECT_EQ(readFile(dir.path() + "/dotfiles/Quillon.ini"), "[General]");
}

// How the app came is found out off the GUI thread (dpkg-query may take
// seconds); the removal waits for it, the caller does not. Meanwhile the
// dialog says what the password will be for.
TEST_F(Uninstall, WaitsForTheOriginWithoutBlockingAndSaysWhatThePasswordIsFor)
{
    QPromise<AppOrigin> promise;
    promise.start();
    Uninstaller later(runner, promise.future(), HelperLayout(dir.path() + "/root"));
    UninstallFlow asking(later, traces);
    EXPECT_FALSE(asking.text().contains("folder it was built in")) << "not known yet";
    asking.accept();
    EXPECT_EQ(asking.state(), State::working);
    EXPECT_EQ(runner.runs, 0) << "nothing runs before the origin is known";
    EXPECT_EQ(asking.text(), "Quillon will remove its background helper and itself completely.");
    Translations::apply(true);
    EXPECT_EQ(asking.text(),
        QString::fromUtf8("Quillon entfernt sein Hintergrund-Hilfswerkzeug und sich selbst vollständig."));
    Translations::apply(false);
    asking.accept();
    EXPECT_EQ(asking.state(), State::working) << "one removal at a time";
    promise.addResult(AppOrigin{AppOrigin::Kind::package, "quillon", {}, {}});
    promise.finish();
    EXPECT_TRUE(waitUntil([&] { return runner.runs == 1; }, std::chrono::seconds(5)));
    EXPECT_TRUE(runner.script.contains("dpkg --purge 'quillon'")) << runner.script.toStdString();
    EXPECT_EQ(asking.state(), State::removed);
    EXPECT_EQ(runner.runs, 1);
}

// The question names the build tree only for an app run from it, and what
// goes; the dialogs in German.
TEST_F(Uninstall, TheQuestionSaysWhatGoesInEitherLanguage)
{
    EXPECT_TRUE(flow.text().contains("folder it was built in")) << flow.text().toStdString();
    Uninstaller packaged(runner, AppOrigin{AppOrigin::Kind::package, "quillon", {}, {}}, HelperLayout(dir.path()));
    UninstallFlow question(packaged, traces);
    EXPECT_FALSE(question.text().contains("folder it was built in")) << question.text().toStdString();
    EXPECT_TRUE(question.text().startsWith("This removes: the fan background helper")) << question.text().toStdString();

    Translations::apply(true);
    UninstallFlow german(packaged, traces);
    EXPECT_EQ(german.title(), "Quillon wirklich entfernen?");
    EXPECT_EQ(german.text(),
        QString::fromUtf8("Entfernt wird: der Lüfter-Hintergrunddienst, die App selbst und alle Einstellungen. Die "
                          "Lüftersteuerung geht sofort wieder an macOS zurück. Du wirst einmal nach deinem Passwort "
                          "gefragt."));
    EXPECT_EQ(german.acceptLabel(), "Entfernen");
    EXPECT_EQ(german.cancelLabel(), "Abbrechen");
    german.accept();
    EXPECT_EQ(german.title(), "Quillon wurde entfernt");
    EXPECT_EQ(german.text(), QString::fromUtf8("Danke, dass du es ausprobiert hast! Die App wird jetzt beendet."));
    EXPECT_EQ(german.acceptLabel(), "Beenden");
    Translations::apply(false);
}

} // namespace
