#include "app/Settings.h"

#include "app/Lang.h"
#include "app/SettingsFileCheck.h"

#include "support/Files.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

using quillon::app::Lang;
using quillon::app::Settings;
using Key = Settings::Key;
using quillon::app::SettingsFileCheck;

namespace {

class SettingsTest : public ::testing::Test {
protected:
    QString path() const { return m_dir.path() + "/Quillon.conf"; }
    void writeFile(const QByteArray& ini) { ASSERT_TRUE(quillon::test::writeFile(path(), ini)); }

private:
    QTemporaryDir m_dir;
};

TEST_F(SettingsTest, ValuesSurviveARestartAndAnnounceTheirKey)
{
    {
        Settings settings(path());
        QSignalSpy changed(&settings, &Settings::changed);
        settings.setCoolingMode("manual");
        settings.setCoolingProfile("max");
        settings.setFlag(Key::heatAlerts, false);
        settings.setDriveAliveIntervalS(300);
        settings.setText(Key::lastLaunchedBuild, "42");
        settings.setJsonArray(Key::triggerApps, QJsonArray{QJsonObject{{"bundleID", "org.blender"}}});
        ASSERT_EQ(changed.count(), 6);
        EXPECT_EQ(changed.at(0).at(0).toString(), "fan.coolingMode");
    }
    Settings reopened(path());
    EXPECT_EQ(reopened.coolingMode(), "manual");
    EXPECT_EQ(reopened.coolingProfile(), "max");
    EXPECT_FALSE(reopened.flag(Key::heatAlerts));
    EXPECT_EQ(reopened.driveAliveIntervalS(), 300);
    EXPECT_EQ(reopened.text(Key::lastLaunchedBuild), "42");
    EXPECT_EQ(reopened.jsonArray(Key::triggerApps).at(0).toObject().value("bundleID").toString(), "org.blender");
}

// No file, or one edited by hand or damaged: every value, odd ones
// included, reads as its default.
TEST_F(SettingsTest, MissingOrWronglyTypedValuesReadAsDefaults)
{
    const QByteArray files[] = {
        {},
        "[General]\n"
        "fan.coolingMode=turbo\n"
        "fan.coolingProfile=Max\n"
        "heatAlerts=1\n"
        "lowBatteryAutoStop=no\n"
        "hotkeysEnabled=\n"
        "showTempInMenuBar=yes\n"
        "trig.enabled=1\n"
        "loginChoiceMade=on\n"
        "drivealive.interval=-5\n"
        "appLanguage=fr\n"
        "lastLaunchedBuild=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x7)\n",
        "[General]\ndrivealive.interval=ninety\n",
    };
    for (const QByteArray& ini : files) {
        SCOPED_TRACE(ini.toStdString());
        if (!ini.isEmpty())
            writeFile(ini);
        Settings settings(path());
        EXPECT_EQ(settings.coolingMode(), "auto");
        EXPECT_EQ(settings.coolingProfile(), "balanced");
        EXPECT_EQ(settings.appLanguage(), "system");
        EXPECT_EQ(settings.driveAliveIntervalS(), 60);
        for (const char* on : {Key::heatAlerts, Key::lowBatteryAutoStop, Key::hotkeysEnabled})
            EXPECT_TRUE(settings.flag(on)) << on;
        for (const char* off : {Key::driveAliveEnabled, Key::triggersEnabled, Key::triggerOnAC, Key::triggerExtDisplay,
                 Key::showTempInMenuBar, Key::loginChoiceMade})
            EXPECT_FALSE(settings.flag(off)) << off;
        EXPECT_FALSE(settings.text(Key::lastLaunchedBuild).has_value());
        EXPECT_FALSE(settings.text(Key::onboardingSeenVersion).has_value());
        EXPECT_TRUE(settings.jsonArray(Key::driveAliveDrives).isEmpty());
    }
}

TEST_F(SettingsTest, UnreadableListIsKeptAsideNotLost)
{
    writeFile("[General]\ndrivealive.drives=[{\"path\": \"/media/x\", \"name\": \"X\"\n");
    const QVariant original = QSettings(path(), QSettings::IniFormat).value("drivealive.drives");
    ASSERT_TRUE(original.isValid());
    {
        Settings settings(path());
        EXPECT_TRUE(settings.jsonArray(Key::driveAliveDrives).isEmpty());
        settings.setJsonArray(Key::driveAliveDrives, QJsonArray{QJsonObject{{"path", "/media/y"}}});
        EXPECT_EQ(settings.jsonArray(Key::driveAliveDrives).size(), 1);
    }
    QSettings raw(path(), QSettings::IniFormat);
    EXPECT_EQ(raw.value("drivealive.drives.unreadable"), original);

    writeFile("[General]\ntrig.apps={\"not\": \"a list\"}\n");
    EXPECT_TRUE(Settings(path()).jsonArray(Key::triggerApps).isEmpty());
}

struct LangRow {
    const char* appLanguage;
    QStringList preferred;
    bool german;
};

TEST(Lang, ChoosesGermanFromTheSettingOrTheFirstPreferredLanguage)
{
    const LangRow rows[] = {
        {"de", {"en-US"}, true},
        {"en", {"de-DE"}, false},
        {"system", {"de-CH", "en"}, true},
        {"system", {"en-DE", "de"}, false},
        {"system", {"DE-at"}, true},
        {"system", {}, false},
        {"", {"de"}, true},
        {"fr", {"de"}, true},
        {"system", {"dk"}, false},
    };
    for (const LangRow& row : rows)
        EXPECT_EQ(Lang::isGerman(row.appLanguage, row.preferred), row.german)
            << row.appLanguage << " / " << row.preferred.join(',').toStdString();
}

TEST_F(SettingsTest, AFileThatIsNoSettingsFileIsMovedAsideNotReadOrLost)
{
    // A FIFO would block the read for good; a huge file would cost seconds
    // on every change. Both go aside, and the app starts from its defaults.
    ASSERT_EQ(::mkfifo(path().toLocal8Bit().constData(), 0600), 0);
    {
        Settings settings(path());
        EXPECT_EQ(settings.coolingMode(), "auto");
        settings.setCoolingMode("manual");
    }
    EXPECT_TRUE(QFileInfo(path() + ".unreadable").exists());
    EXPECT_EQ(Settings(path()).coolingMode(), "manual") << "a fresh file took its place";

    writeFile("[General]\nfan.coolingMode=manual\n" + QByteArray(SettingsFileCheck::kMaxBytes, '#'));
    Settings big(path());
    EXPECT_EQ(big.coolingMode(), "auto");
    EXPECT_GT(QFileInfo(path() + ".unreadable").size(), SettingsFileCheck::kMaxBytes) << "kept, not deleted";
}

// A write the file does not take is reported until one succeeds again; as
// root, permissions would not stop it, so the folder is made a file.
TEST_F(SettingsTest, AWriteThatDoesNotReachTheFileIsReported)
{
    const QString folder = QFileInfo(path()).path() + "/config";
    ASSERT_TRUE(quillon::test::writeFile(folder, "a file where the folder should be"));
    Settings settings(folder + "/Quillon.conf");
    settings.setFlag(Key::triggersEnabled, true);
    EXPECT_TRUE(settings.writeError().contains(folder + "/Quillon.conf")) << settings.writeError().toStdString();

    ASSERT_TRUE(QFile::remove(folder));
    settings.setFlag(Key::triggersEnabled, true);
    EXPECT_EQ(settings.writeError(), "");
    EXPECT_TRUE(Settings(folder + "/Quillon.conf").flag(Key::triggersEnabled));
}

// Dotfile managers keep the file elsewhere and link to it: the link is
// followed and written through, never moved aside or replaced.
TEST_F(SettingsTest, ALinkedFileIsWrittenThroughTheLink)
{
    const QString target = QFileInfo(path()).path() + "/dotfiles/Quillon.conf";
    ASSERT_TRUE(quillon::test::writeFile(target, "[General]\nfan.coolingMode=manual\n"));
    ASSERT_TRUE(QFile::link(target, path()));
    {
        Settings settings(path());
        EXPECT_EQ(settings.coolingMode(), "manual");
        settings.setCoolingProfile("max");
    }
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(path() + ".unreadable"));
    EXPECT_EQ(QSettings(target, QSettings::IniFormat).value("fan.coolingProfile").toString(), "max");
    EXPECT_EQ(Settings(path()).coolingProfile(), "max");
}

TEST_F(SettingsTest, AnUnparsableFileIsCopiedBeforeItIsRewritten)
{
    const QByteArray damaged = "[General\nfan.coolingMode=manual\n\x01\x02[[\n";
    writeFile(damaged);
    Settings settings(path());
    settings.setCoolingProfile("max");
    EXPECT_EQ(quillon::test::readFile(path() + ".corrupt"), damaged);
}

} // namespace
