// The welcome window's controller over a settings file of its own, with the
// real QML (offscreen): when the intro shows, that it stays one window, what
// completing and closing early record, and the pages in both languages.
#include "app/Settings.h"
#include "app/Translations.h"
#include "ui/onboarding/OnboardingController.h"
#include "ui/onboarding/OnboardingPages.h"

#include "support/QStringPrinter.h"
#include "support/QuickItems.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

using app::Settings;
using ui::OnboardingController;

constexpr const char* kVersion = "1.5.0";

class OnboardingTest : public ::testing::Test {
protected:
    void TearDown() override { app::Translations::apply(false); }

    QQuickItem* root() const { return controller.view() ? controller.view()->rootObject() : nullptr; }
    // The shown item of that name (each page has its own title).
    QQuickItem* item(const QString& name) const
    {
        for (QQuickItem* it : controller.view() ? QuickItems(*controller.view()).all(name) : QList<QQuickItem*>{}) {
            if (it->isVisible())
                return it;
        }
        return nullptr;
    }
    int page() const { return root()->property("page").toInt(); }
    // A key typed into the window, once it has the keyboard.
    void key(Qt::Key k) const
    {
        ASSERT_TRUE(QTest::qWaitForWindowActive(controller.view()));
        QTest::keyClick(controller.view(), k);
    }
    // The page title the window shows once its slide has settled.
    QString shownTitle() const
    {
        QTest::qWait(600);
        QQuickItem* title = item("pageTitle");
        return title ? title->property("text").toString() : QString();
    }
    // How opaque the shown page's title is drawn, all its parents included.
    double titleOpacity() const
    {
        double opacity = 1;
        for (QQuickItem* it = item("pageTitle"); it; it = it->parentItem())
            opacity *= it->opacity();
        return opacity;
    }
    // The welcome windows that exist (shown or not).
    static int windows()
    {
        int count = 0;
        for (QWindow* window : QGuiApplication::topLevelWindows())
            count += window->title() == QLatin1String(OnboardingController::kWindowTitle);
        return count;
    }
    std::optional<QString> seen() const { return settings.text(Settings::Key::onboardingSeenVersion); }

    QTemporaryDir dir;
    Settings settings{dir.path() + "/Quillon.conf"};
    OnboardingController controller{settings, kVersion};
    int finished = 0;
};

// Shown while this version's intro is not completed: never seen, or seen in
// another version (after an update); not once this version's is.
TEST_F(OnboardingTest, ShowsUntilThisVersionsIntroIsCompletedAndOnlyOnce)
{
    EXPECT_TRUE(controller.showIfFirstLaunch());
    ASSERT_TRUE(controller.isOpen());
    EXPECT_TRUE(controller.view()->isVisible());
    EXPECT_EQ(controller.view()->title(), "Willkommen bei Quillon");
    controller.close();
    EXPECT_FALSE(controller.isOpen());

    settings.setText(Settings::Key::onboardingSeenVersion, "1.4.0");
    EXPECT_TRUE(controller.showIfFirstLaunch());
    controller.close();

    settings.setText(Settings::Key::onboardingSeenVersion, kVersion);
    EXPECT_FALSE(controller.showIfFirstLaunch());
    EXPECT_FALSE(controller.isOpen());
    QTest::qWait(0); // the closed windows' deferred deletion
    EXPECT_EQ(windows(), 0);

    // Shown again while open, it comes to the front: one window, its page kept.
    controller.show();
    QQuickView* first = controller.view();
    ASSERT_NE(root(), nullptr) << "the QML did not load";
    key(Qt::Key_Right);
    key(Qt::Key_Return);
    EXPECT_EQ(page(), 2);
    controller.show();
    EXPECT_EQ(controller.view(), first);
    EXPECT_EQ(page(), 2);
    EXPECT_EQ(windows(), 1);
}

// Escape or the close button closes early: nothing recorded, no panel, and
// the intro comes back next time, from its first page. Right and Return go
// forward, Left back (not before the first page); the forward button becomes
// "Let's go!" on the last page, where it completes the intro: the version is
// recorded, the window closes, and the panel's opener runs 0.35 s later.
TEST_F(OnboardingTest, OnlyCompletingRecordsTheVersionAndOpensThePanelAfterwards)
{
    controller.setOnFinished([this] { ++finished; });
    settings.setText(Settings::Key::onboardingSeenVersion, "1.4.0");
    ASSERT_TRUE(controller.showIfFirstLaunch());
    key(Qt::Key_Right);
    key(Qt::Key_Escape);
    EXPECT_FALSE(controller.isOpen());
    QTest::qWait(600);
    controller.show();
    EXPECT_FALSE(controller.completedThisRun());
    ASSERT_TRUE(controller.isOpen());
    EXPECT_EQ(page(), 0);
    QMetaObject::invokeMethod(item("closeButton"), "clicked");
    QTest::qWait(500);
    EXPECT_FALSE(controller.isOpen());
    EXPECT_EQ(finished, 0);

    controller.show();
    ASSERT_NE(root(), nullptr);
    key(Qt::Key_Left);
    EXPECT_EQ(page(), 0);
    EXPECT_FALSE(item("backButton")->isEnabled());
    for (int i = 0; i < 5; ++i)
        key(Qt::Key_Right);
    key(Qt::Key_Left);
    key(Qt::Key_Right);
    EXPECT_EQ(page(), 5);
    EXPECT_EQ(shownTitle(), "Up in your\nmenu bar");
    // A loaded machine may still be finishing the fade.
    EXPECT_TRUE(QTest::qWaitFor([&] { return titleOpacity() == 1.0; }, 2000))
        << "the page slid in but is not drawn: " << titleOpacity();
    EXPECT_EQ(item("nextButton")->property("text").toString(), "Let's go!");
    EXPECT_EQ(seen(), "1.4.0");

    QElapsedTimer clock;
    clock.start();
    QMetaObject::invokeMethod(item("nextButton"), "clicked");
    EXPECT_EQ(seen(), kVersion);
    EXPECT_TRUE(controller.completedThisRun());
    EXPECT_FALSE(controller.isOpen());
    EXPECT_EQ(finished, 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return finished > 0; }, 2000));
    EXPECT_GE(clock.elapsed(), 340);
    EXPECT_EQ(finished, 1);
    EXPECT_FALSE(controller.showIfFirstLaunch());
}

// A page slides in from the side it lies on: from the right going forward,
// from the left going back.
TEST_F(OnboardingTest, PagesSlideInTheDirectionOfTravel)
{
    controller.show();
    ASSERT_NE(root(), nullptr);
    QQuickItem* pager = item("pager");
    ASSERT_NE(pager, nullptr);
    const auto enteringX = [&] {
        QTest::qWait(60);
        return pager->property("currentItem").value<QQuickItem*>()->x();
    };
    key(Qt::Key_Right);
    EXPECT_TRUE(root()->property("goingForward").toBool());
    EXPECT_GT(enteringX(), 20);
    QTest::qWait(600);
    EXPECT_EQ(enteringX(), 0);
    key(Qt::Key_Left);
    EXPECT_FALSE(root()->property("goingForward").toBool());
    EXPECT_LT(enteringX(), -20);
    QTest::qWait(600);
    EXPECT_EQ(page(), 0);
}

// The pages in their order, in English and German; a change of language
// reaches the open window's page and buttons.
TEST_F(OnboardingTest, PagesSpeakTheAppsLanguage)
{
    const QStringList english{"Welcome to\nQuillon", "Keep working,\nlid closed", "Stay awake\nwhen you need it",
        "Smart Cooling", "Thinks along\nwith you", "Up in your\nmenu bar"};
    const QStringList german{"Willkommen bei\nQuillon", "Zugeklappt\nweiterarbeiten", "Wach bleiben,\nwenn du's brauchst",
        "Smart Cooling", "Denkt für\ndich mit", "Oben in deiner\nMenüleiste"};
    const auto titles = [] {
        QStringList all;
        for (const ui::OnboardingPage& page : ui::OnboardingPages::build())
            all.append(page.title);
        return all;
    };
    EXPECT_EQ(titles(), english);

    controller.show();
    ASSERT_NE(root(), nullptr);
    EXPECT_EQ(shownTitle(), english[0]);
    ASSERT_TRUE(app::Translations::apply(true));
    controller.retranslate();
    EXPECT_EQ(titles(), german);
    EXPECT_EQ(shownTitle(), german[0]);
    EXPECT_EQ(item("nextButton")->property("text").toString(), "Weiter");
    EXPECT_TRUE(ui::OnboardingPages::build()[4].body.startsWith("Automatik: „Solange Final Cut läuft,"));
    for (int i = 0; i < 5; ++i)
        key(Qt::Key_Right);
    EXPECT_EQ(item("nextButton")->property("text").toString(), "Los geht's!");
    EXPECT_EQ(item("backButton")->property("text").toString(), "Zurück");
}

} // namespace
} // namespace quillon::test
