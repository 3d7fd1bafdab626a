// The settings window's QML over real settings, a real login item in a
// temporary folder and a real update checker reading a feed file: what each
// row shows and writes, the language question and the uninstall dialogs.
#include "app/Settings.h"
#include "app/Translations.h"
#include "app/install/UninstallFlow.h"
#include "app/install/Uninstaller.h"
#include "app/install/UpdateChecker.h"
#include "ui/Hotkeys.h"
#include "ui/LoginItem.h"
#include "ui/settings/SettingsController.h"
#include "ui/settings/SettingsView.h"

#include "support/EventLoop.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeRunner.h"
#include "support/Files.h"
#include "support/Picture.h"
#include "support/QStringPrinter.h"
#include "support/QuickItems.h"

#include <QQuickView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

namespace quillon::test {
namespace {

using Key = app::Settings::Key;

class SettingsComponentTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(writeFile(dir.filePath("feed.json"), R"({"shortVersion": "0.1.0"})"));
        ASSERT_EQ(controller.window()->status(), QQuickView::Ready);
    }
    void TearDown() override { app::Translations::apply(false); }

    // As the app does on a change of language.
    void speak(bool german)
    {
        app::Translations::apply(german);
        controller.retranslate();
    }
    void offer(const char* feed)
    {
        ASSERT_TRUE(writeFile(dir.filePath("feed.json"), feed));
        quick.click("checkUpdates");
        ASSERT_TRUE(waitUntil([&] { return !view.checking(); }, std::chrono::seconds(5)));
    }
    // The label of every switch and button, top to bottom.
    QStringList rowTexts() const
    {
        QStringList texts;
        for (const char* row : {"launchAtLogin", "showTemp", "hotkeys", "heatAlerts", "lowBattStop", "checkUpdates",
                 "showIntro", "feedback", "uninstall"})
            texts.append(quick.text(QLatin1String(row)));
        return texts;
    }
    bool checked(const char* row) const { return quick.item(QLatin1String(row))->property("checked").toBool(); }
    void picture(const char* name) { keepPicture(*controller.window(), QUILLON_ARTIFACT_DIR, name); }

    QTemporaryDir dir;
    app::Settings settings{dir.filePath("Quillon.ini")};
    ui::LoginItem loginItem{dir.filePath("config"), {}, "/usr/bin/quillon"};
    app::UpdateChecker updates{QUrl::fromLocalFile(dir.filePath("feed.json")), "0.1.0"};
    FakeRunner runner;
    app::Uninstaller uninstaller{runner, app::AppOrigin{}, app::HelperLayout(dir.filePath("root"))};
    int intros = 0;
    int restarts = 0;
    ui::SettingsView view{settings, loginItem, updates, "0.1.0",
        {[this] { ++intros; }, [this] { ++restarts; },
            [this] {
                return std::make_unique<app::UninstallFlow>(uninstaller,
                    app::Uninstaller::UserTraces{
                        dir.filePath("Quillon.ini"), dir.filePath("autostart"), dir.filePath("cache")});
            }}};
    ui::SettingsController controller{view};
    QuickItems quick{shownWindow()};

private:
    const QQuickWindow& shownWindow()
    {
        controller.show();
        return *controller.window();
    }
};

// A fresh user's window: the rows in order, in either language, with the
// switches as the defaults say (pictures of both kept in QUILLON_ARTIFACT_DIR);
// the intro's hook, and feedback mailed to support with the version.
TEST_F(SettingsComponentTest, RowsInOrderWithTheirDefaults)
{
    EXPECT_EQ(controller.window()->title(), "Quillon Settings");
    EXPECT_EQ(rowTexts(),
        QStringList({"Launch automatically at login", "Show temperature in the menu bar", "Global keyboard shortcuts",
            "Alerts on heat & throttling", "Auto-stop on low battery", "Check for updates", "❔  Show intro again",
            "✉️  Send feedback / report a bug", "🗑️  Uninstall Quillon…"}));
    EXPECT_FALSE(checked("launchAtLogin"));
    EXPECT_FALSE(checked("showTemp"));
    EXPECT_TRUE(checked("hotkeys"));
    EXPECT_TRUE(checked("heatAlerts"));
    EXPECT_TRUE(checked("lowBattStop"));
    EXPECT_EQ(quick.item("language")->property("currentText").toString(), "System");
    picture("settings-en.png");

    speak(true);
    EXPECT_EQ(controller.window()->title(), "Quillon Einstellungen");
    EXPECT_EQ(rowTexts(),
        QStringList(
            {"Beim Anmelden automatisch starten", "Temperatur in der Menüleiste anzeigen", "Globale Tastenkürzel",
                "Warnungen bei Hitze & Drosselung", "Bei niedrigem Akku automatisch stoppen", "Nach Updates suchen",
                "❔  Einführung erneut zeigen", "✉️  Feedback / Bug melden", "🗑️  Quillon entfernen…"}));
    picture("settings-de.png");

    quick.click("showIntro");
    EXPECT_EQ(intros, 1);
    const QUrl mail = view.feedbackUrl();
    EXPECT_EQ(mail.scheme(), "mailto");
    EXPECT_EQ(mail.path(), "dev@quillon.org");
    EXPECT_EQ(QUrlQuery(mail).queryItemValue("subject", QUrl::FullyDecoded), "Quillon 0.1.0 feedback");
}

// Every switch writes its key the moment it is flipped; launch at login
// writes the autostart entry; an opened-again window shows what is stored.
TEST_F(SettingsComponentTest, SwitchesWriteTheirKeysAtOnce)
{
    QSignalSpy written(&settings, &app::Settings::changed);
    for (const char* row : {"showTemp", "hotkeys", "heatAlerts", "lowBattStop"})
        quick.flip(QLatin1String(row));
    EXPECT_EQ(written.size(), 4);
    EXPECT_TRUE(settings.flag(Key::showTempInMenuBar));
    EXPECT_FALSE(settings.flag(Key::hotkeysEnabled));
    EXPECT_FALSE(settings.flag(Key::heatAlerts));
    EXPECT_FALSE(settings.flag(Key::lowBatteryAutoStop));
    EXPECT_FALSE(app::Settings(dir.filePath("Quillon.ini")).flag(Key::hotkeysEnabled)) << "on disk at once";

    quick.flip("launchAtLogin");
    EXPECT_TRUE(loginItem.isEnabled());
    EXPECT_TRUE(checked("launchAtLogin"));
    EXPECT_TRUE(settings.flag(Key::loginChoiceMade)) << "the panel's question is answered too";

    settings.setFlag(Key::hotkeysEnabled, true);
    EXPECT_TRUE(checked("hotkeys")) << "follows the key when something else writes it";

    QQuickView* first = controller.window();
    controller.show();
    EXPECT_EQ(controller.window(), first) << "opened again: the same window";
    EXPECT_TRUE(checked("showTemp"));

    // Ctrl+W closes it; closed a while, it is released, and opened again it
    // shows the settings as they are.
    ui::SettingsController other{view};
    other.setReleaseDelay(50);
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(other.window()));
    QTest::keySequence(other.window(), QKeySequence::Close);
    EXPECT_FALSE(other.isVisible());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !other.window(); }, 5000));
    settings.setFlag(Key::hotkeysEnabled, false);
    other.show();
    EXPECT_FALSE(QuickItems(*other.window()).item("hotkeys")->property("checked").toBool());
}

// Under the shortcuts' switch: the keys while the desktop holds them, why
// not when it does not, nothing while they are off.
TEST_F(SettingsComponentTest, ShortcutsSayWhetherTheyHold)
{
    FakeGlobalShortcuts shortcuts;
    ui::Hotkeys hotkeys(shortcuts);
    hotkeys.followSetting(settings);
    view.watchHotkeys(hotkeys);
    EXPECT_EQ(quick.text("hotkeysNote"), "Super+Alt+K: keep-awake · Super+Alt+L: fan control");

    quick.flip("hotkeys");
    EXPECT_FALSE(hotkeys.installed());
    EXPECT_FALSE(quick.shown("hotkeysNote"));

    shortcuts.refusal = "no GlobalShortcuts portal and not an X11 session";
    quick.flip("hotkeys");
    EXPECT_EQ(quick.text("hotkeysNote"), "Not in force: no GlobalShortcuts portal and not an X11 session");
}

// Choosing another language stores it and asks to restart; the same one
// asks nothing. "Later" keeps running, "Restart now" restarts.
TEST_F(SettingsComponentTest, LanguageChangeAsksToRestart)
{
    QQuickItem* picker = quick.item("language");
    QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, 0));
    EXPECT_FALSE(quick.object("languageAlert")->property("visible").toBool()) << "System was chosen already";

    QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, 1));
    EXPECT_EQ(settings.appLanguage(), "de");
    ASSERT_TRUE(waitUntil([&] { return quick.shown("restartNow"); }, std::chrono::seconds(2)));
    EXPECT_EQ(quick.object("languageAlert")->property("title").toString(), "Language changed");
    picture("settings-language-alert.png");
    quick.click("restartLater");
    EXPECT_TRUE(waitUntil([&] { return !quick.shown("restartNow"); }, std::chrono::seconds(2)));
    EXPECT_EQ(restarts, 0);

    QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, 2));
    EXPECT_EQ(settings.appLanguage(), "en");
    ASSERT_TRUE(waitUntil([&] { return quick.shown("restartNow"); }, std::chrono::seconds(2)));
    quick.click("restartNow");
    EXPECT_EQ(restarts, 1);
}

// A check asked for here says what it found: a download, or that this is
// the latest; a build without the checker has no such row.
TEST_F(SettingsComponentTest, CheckForUpdatesShowsItsOutcome)
{
    // Not drawn: the spinner's frames land in Qt Quick's texture cache, which
    // is never freed and would trip a sanitizer build's leak check.
    controller.window()->hide();
    EXPECT_FALSE(quick.shown("upToDate")) << "nothing said before a check";
    offer(R"({"shortVersion": "0.1.0"})");
    EXPECT_TRUE(quick.shown("upToDate"));
    EXPECT_FALSE(quick.shown("downloadUpdate"));

    offer(R"({"shortVersion": "0.2.0", "url": "https://quillon.org/q.deb"})");
    EXPECT_TRUE(quick.shown("downloadUpdate"));
    EXPECT_EQ(quick.text("downloadUpdate"), "⬇  Download update v0.2.0");
    EXPECT_FALSE(quick.shown("upToDate"));
    speak(true);
    EXPECT_EQ(quick.text("downloadUpdate"), "⬇  Update auf v0.2.0 laden");

    app::UpdateChecker off{QUrl(), "0.1.0"};
    ui::SettingsView offView{settings, loginItem, off, "0.1.0", {}};
    EXPECT_FALSE(offView.updatesAvailable());
}

// Uninstalling asks first; cancelled, nothing happens; accepted, the user's
// traces go and the last button quits the app.
TEST_F(SettingsComponentTest, UninstallAsksThenRemovesAndQuits)
{
    quick.click("uninstall");
    ASSERT_TRUE(waitUntil([&] { return quick.shown("uninstallAccept"); }, std::chrono::seconds(2)));
    EXPECT_EQ(quick.object("uninstallDialog")->property("title").toString(), "Really uninstall Quillon?");
    quick.click("uninstallCancel");
    EXPECT_TRUE(waitUntil([&] { return !quick.shown("uninstallAccept"); }, std::chrono::seconds(2)));
    EXPECT_EQ(runner.runs, 0);

    QSignalSpy quit(&view, &ui::SettingsView::quitRequested);
    quick.click("uninstall");
    ASSERT_TRUE(waitUntil([&] { return quick.shown("uninstallAccept"); }, std::chrono::seconds(2)));
    quick.click("uninstallAccept");
    EXPECT_EQ(runner.runs, 1);
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("Quillon.ini")));
    EXPECT_EQ(quick.text("uninstallAccept"), "Quit");
    quick.click("uninstallAccept");
    EXPECT_EQ(quit.size(), 1);
}

// The keyboard starts on the first switch, and Tab walks the controls in
// order. (Read from the focus chain Tab follows: moving the focus for real
// would draw focus frames into Qt Quick's never-freed texture cache, which a
// sanitizer build's leak check reports.)
TEST_F(SettingsComponentTest, TabWalksTheControls)
{
    QQuickItem* first = quick.item("launchAtLogin");
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->hasFocus());
    QStringList reached{first->objectName()};
    QQuickItem* item = first;
    for (int i = 0; i < 5; ++i) {
        item = item->nextItemInFocusChain(true);
        reached.append(item ? item->objectName() : QString());
    }
    EXPECT_EQ(reached, QStringList({"launchAtLogin", "showTemp", "hotkeys", "heatAlerts", "lowBattStop", "language"}));
}

} // namespace
} // namespace quillon::test
