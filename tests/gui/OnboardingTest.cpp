// The welcome window of the tray app in demo mode, on a virtual display with
// a system tray: a first launch greets with the intro instead of the panel,
// keys and clicks walk its six pages (screenshots of each, in English and
// German, are kept in QUILLON_ARTIFACT_DIR/onboarding), "Let's go!" records
// the version and opens the panel; a launch after an older version's intro
// was completed shows it again (one after this version's is the tray tour).
#include "GuiApp.h"

#include <QDir>
#include <QSettings>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

// The welcome window's forward button's centre (qml/Onboarding.qml: 24 px
// from the right and bottom edges, 150 x 44) and the circle the emoji sits in
// (136 px across, 58 px from the top, centred).
const QPoint kNextButton(560 - 24 - 75, 640 - 24 - 22);
const QRect kEmoji(280 - 50, 126 - 50, 100, 100);
// A page's slide and the entrance animation take less than this.
constexpr int kSettleMs = 900;

class OnboardingTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(display.ready()) << "Xvfb or trayer did not start";
        QDir().mkpath(artifacts);
    }

    // Starts the app with the user's settings saying language and which
    // version's intro was completed (none: never).
    ::testing::AssertionResult startApp(DemoAppRig& rig, const QString& language, const QString& seenVersion = {})
    {
        rig.seedOnboarding = false;
        rig.setUserSetting("appLanguage", language);
        if (!seenVersion.isEmpty())
            rig.setUserSetting("onboardingSeenVersion", seenVersion);
        return startOnDisplay(rig, display);
    }

    std::optional<XDisplay::Window> intro() const
    {
        return appWindow(display, [](const QRect& frame) { return frame.size() == kIntroSize; });
    }
    bool panelShown() const
    {
        return appWindow(display, [](const QRect& frame) {
            return frame.width() >= kPanelMinWidth && frame.size() != kIntroSize;
        }).has_value();
    }

    // A first launch in this language: the intro and not the panel; a
    // screenshot of each page; the last page's button completes it and the
    // panel opens.
    void walkThrough(const QString& language, bool clickLastButton)
    {
        DemoAppRig rig;
        ASSERT_TRUE(startApp(rig, language));
        ASSERT_TRUE(waitUntil([&] { return intro().has_value(); }, 15s)) << "no welcome window\n" << rig.log();
        const XDisplay::Window window = *intro();
        const QPoint centred((1280 - kIntroSize.width()) / 2, (800 - kIntroSize.height()) / 2);
        EXPECT_LE((window.frame.topLeft() - centred).manhattanLength(), 24) << "the welcome window is centred";
        QTest::qWait(kSettleMs);
        EXPECT_FALSE(panelShown()) << "a first launch with the intro does not present the panel";

        for (int page = 1; page <= 6; ++page) {
            if (page > 1) {
                display.key(window, "Right");
                QTest::qWait(kSettleMs);
            }
            const QImage shot = display.grab(artifact(language, page), window.id);
            ASSERT_FALSE(shot.isNull());
            // The emoji is drawn in colour: a monochrome glyph or a missing
            // glyph's box has no vivid pixels (the circle behind it is a pale tint).
            const int vivid = vividPixels(shot.copy(kEmoji));
            EXPECT_GT(vivid, 40) << "page " << page << " shows no colour emoji";
            std::printf("page %d: %d vivid pixels\n", page, vivid);
        }

        if (clickLastButton)
            display.click(window, kNextButton);
        else
            display.key(window, "Return");
        EXPECT_TRUE(waitUntil([&] { return !intro().has_value(); }, 5s)) << "the intro did not close";
        EXPECT_TRUE(waitUntil([&] { return panelShown(); }, 5s)) << "the panel did not open after the intro";
        QSettings demoSettings(rig.demoDirectory() + "/Quillon.conf", QSettings::IniFormat);
        EXPECT_EQ(demoSettings.value("onboardingSeenVersion").toString(), QUILLON_VERSION);
        QTest::qWait(500);
        display.grab(artifacts + "/" + language + "-after-intro.png");
        quitApp(rig);
    }

    // How many pixels of a picture are of a vivid colour (far from grey).
    static int vividPixels(const QImage& image)
    {
        int vivid = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                vivid += std::max({c.red(), c.green(), c.blue()}) - std::min({c.red(), c.green(), c.blue()}) > 80;
            }
        }
        return vivid;
    }

    QString artifact(const QString& language, int page) const
    {
        return QStringLiteral("%1/%2-page-%3.png").arg(artifacts, language).arg(page);
    }

    XDisplay display;
    QString artifacts = QStringLiteral(QUILLON_ARTIFACT_DIR "/onboarding");
};

TEST_F(OnboardingTest, FirstLaunchInEnglishWalksSixPagesAndOpensThePanel)
{
    walkThrough("en", true);
}

TEST_F(OnboardingTest, FirstLaunchInGermanWalksSixPagesAndOpensThePanel)
{
    walkThrough("de", false);
}

// A launch after an older version's intro was completed shows the intro
// again (and not the panel); closed early, it records nothing.
TEST_F(OnboardingTest, IntroReturnsForANewVersion)
{
    DemoAppRig rig;
    ASSERT_TRUE(startApp(rig, "en", "0.0.1"));
    ASSERT_TRUE(waitUntil([&] { return intro().has_value(); }, 15s)) << "no welcome window after an update";
    QTest::qWait(kSettleMs + 700);
    EXPECT_FALSE(panelShown());
    // Escape closes it early: no panel.
    display.key(*intro(), "Escape");
    EXPECT_TRUE(waitUntil([&] { return !intro().has_value(); }, 5s)) << "Escape did not close the intro";
    QTest::qWait(800);
    EXPECT_FALSE(panelShown()) << "an intro closed early opens no panel";
    QSettings demoSettings(rig.demoDirectory() + "/Quillon.conf", QSettings::IniFormat);
    EXPECT_EQ(demoSettings.value("onboardingSeenVersion").toString(), "0.0.1");
    quitApp(rig);
}

} // namespace
} // namespace quillon::test
