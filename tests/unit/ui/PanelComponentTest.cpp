// The menu panel's QML over the real models, with fake platform services
// and a fake clock: what the panel says in each state, in English and German.
#include "app/Translations.h"
#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "ui/LoginItem.h"
#include "ui/panel/AppIconProvider.h"
#include "ui/panel/AutomationView.h"
#include "ui/panel/AwakeView.h"
#include "ui/panel/DriveView.h"
#include "ui/panel/FanView.h"
#include "ui/panel/PanelState.h"
#include "ui/panel/PanelViews.h"
#include "ui/panel/PanelWindow.h"
#include "ui/QmlView.h"
#include "ui/panel/RenderView.h"

#include "support/Files.h"
#include "support/KeepAwakeRig.h"
#include "support/Picture.h"
#include "support/QStringPrinter.h"
#include "support/QuickItems.h"

#include <QColor>
#include <QJsonObject>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>

namespace quillon::test {
namespace {

using Level = platform::ThermalPressure::Level;

class PanelComponentTest : public KeepAwakeRig {
protected:
    void SetUp() override
    {
        KeepAwakeRig::SetUp();
        views = std::make_unique<ui::PanelViews>(*manager, settings, loginItem, clock, nullptr);
        view.engine()->addImageProvider("appicon", new ui::AppIconProvider);
        view.setInitialProperties(views->rootProperties());
        view.setSource(QUrl(QStringLiteral("qrc:/qml/Panel.qml")));
        QStringList errors;
        for (const QQmlError& error : view.errors())
            errors.append(error.toString());
        ASSERT_EQ(view.status(), QQuickView::Ready) << errors.join('\n').toStdString();
    }

    void TearDown() override { app::Translations::apply(false); }

    // As the app does on a change of language: translator first, then the texts.
    void speak(const char* language)
    {
        app::Translations::apply(QLatin1String(language) == QLatin1String("de"));
        settings.setAppLanguage(QString::fromLatin1(language));
        view.engine()->retranslate();
    }

    QQuickItem* item(const QString& name) const { return quick.item(name); }
    // The item's text in English and in German; English again afterwards.
    void saysInBoth(const char* name, const char* english, const char* german)
    {
        EXPECT_EQ(text(name), QString::fromUtf8(english));
        speak("de");
        EXPECT_EQ(text(name), QString::fromUtf8(german));
        speak("en");
    }
    QString text(const QString& name) const { return quick.text(name); }
    QStringList texts(const QString& name) const { return quick.texts(name); }
    bool shown(const QString& name) const { return quick.shown(name); }
    void click(const QString& name) { quick.click(name); }
    void flip(const QString& name) { quick.flip(name); }

    // The panel drawn at its own height, kept for people to look at.
    void picture(const char* name)
    {
        view.setResizeMode(QQuickView::SizeViewToRootObject);
        keepPicture(view, QUILLON_ARTIFACT_DIR, name);
    }

    app::FanController& fan() { return *manager->fan(); }
    // The helper answers this status from now on; one poll fetches it.
    void helperReports(const QVariantMap& status)
    {
        link.status = status;
        fan().refresh();
        link.deliver();
    }

    ui::LoginItem loginItem{dir.path() + "/config", {}, "/usr/bin/quillon"};
    std::unique_ptr<ui::PanelViews> views;
    QQuickView view;
    QuickItems quick{view};
};

// Every section starts collapsed. The closed panel's window is released
// after a while, and the shared QML engine with it; opened again, it shows
// what the models hold, expanded sections included.
TEST_F(PanelComponentTest, AClosedPanelIsReleasedAndOpensAgainAsItWas)
{
    for (const char* section : {"awake", "lid", "automation", "drives", "render", "fans"}) {
        EXPECT_TRUE(shown(QString::fromLatin1(section) + "Title")) << section;
        EXPECT_FALSE(item(QString::fromLatin1(section) + "Body")->property("visible").toBool()) << section;
    }
    ui::PanelWindow panel(views->rootProperties());
    panel.setReleaseDelay(50);
    panel.show({});
    ASSERT_TRUE(panel.view());
    views->state().setProperty("fansExpanded", true);
    panel.hide();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !panel.view(); }, 5000));
    EXPECT_FALSE(ui::QmlView::sharedEngine()) << "no window left, no engine";

    views->awake().stayAwakeFor(3600);
    panel.show({});
    ASSERT_TRUE(panel.view());
    const QuickItems again(*panel.view());
    EXPECT_EQ(again.texts("statusLine"), QStringList{"Awake · 1:00:00 left"});
    EXPECT_TRUE(again.item("fansBody")->property("visible").toBool());
    QTest::qWait(150);
    EXPECT_TRUE(panel.view()) << "an open panel is kept";
}

// The status head and the keep-awake section follow a session: off, then the
// countdown with its end, in the language chosen.
TEST_F(PanelComponentTest, KeepAwakeShowsItsCountdownAndEnd)
{
    EXPECT_EQ(texts("statusLine"), QStringList{"Your Mac sleeps as usual."});
    EXPECT_EQ(text("awakeSummary"), "Off");
    EXPECT_EQ(text("stayAwakeFor"), "Stay awake for");
    EXPECT_FALSE(shown("allOff"));

    views->awake().stayAwakeFor(3 * 86400);
    EXPECT_EQ(texts("statusLine"), QStringList{"Awake · 72:00:00 left"});
    EXPECT_EQ(text("awakeSummary"), "72:00:00 left · ends " + manager->expiryDescription().value());
    EXPECT_EQ(item("kind_display")->property("checked"), true);
    EXPECT_EQ(item("kind_network")->property("checked"), false);
    EXPECT_TRUE(shown("allOff"));

    speak("de");
    EXPECT_EQ(texts("statusLine"), QStringList{"Wach · noch 72:00:00"});
    EXPECT_EQ(text("awakeSummary"), "noch 72:00:00 · endet " + manager->expiryDescription().value());
    EXPECT_TRUE(manager->expiryDescription()->startsWith("24.11.26")) << manager->expiryDescription()->toStdString();
    EXPECT_EQ(text("stayAwakeFor"), "Wach bleiben für");
    EXPECT_EQ(text("customEndButton"), "Eigene Endzeit…");
    EXPECT_EQ(item("kind_system")->property("text"), "System wach halten");
    EXPECT_EQ(text("allOff"), "Alles aus");

    click("awakeOff");
    EXPECT_EQ(text("awakeSummary"), "Aus");
}

// A kind nothing holds is shown off with the reason, and the head does not
// claim the computer is kept awake; one being confirmed or in force says
// through what. "Awake" is said only of what the system shows in force: a
// kind it took without showing it (the portal's) is named as only asked
// for, and lights neither the icon nor the head.
TEST_F(PanelComponentTest, KeepAwakeShowsWhatHoldsEachKindAndWhyNot)
{
    using SystemPhase = quillon::platform::PowerAssertionState::Phase;
    backend->refuse = true;
    views->awake().stayAwakeFor(3600);
    EXPECT_EQ(texts("statusLine"), QStringList{"Keep-awake is not in force: nothing here"});
    EXPECT_EQ(text("awakeSummary"), "Not in force");
    EXPECT_EQ(item("kind_system")->property("checked"), false);
    EXPECT_EQ(text("kindNote_system"), "Not in force: nothing here");
    EXPECT_FALSE(shown("kindNote_network"));

    backend->refuse = false;
    backend->confirmLater = true;
    views->awake().toggleKind("display");
    backend->settle(manager->assertions().ids().at(Kind::display), SystemPhase::confirming, "cannot show it");
    EXPECT_EQ(texts("statusLine"), QStringList{"Keep-awake asked for, not confirmed: display · 1:00:00 left"});
    EXPECT_EQ(text("awakeSummary"), "Not confirmed · 1:00:00 left");
    EXPECT_EQ(text("kindNote_display"), "Asked fake, not confirmed: cannot show it");
    EXPECT_FALSE(manager->anythingActive()) << "the tray icon stays idle";
    EXPECT_TRUE(shown("allOff"));

    views->awake().toggleKind("network");
    EXPECT_EQ(item("kind_network")->property("checked"), true);
    EXPECT_EQ(text("kindNote_network"), "Checking that fake holds it…");
    EXPECT_EQ(texts("statusLine"), QStringList{"Keep-awake asked for, not confirmed: display, network · 1:00:00 left"});
    backend->settle(manager->assertions().ids().at(Kind::network), SystemPhase::inForce);
    EXPECT_EQ(text("kindNote_network"), "In force through fake");
    EXPECT_EQ(
        texts("statusLine"), QStringList({"Awake · 1:00:00 left", "Keep-awake asked for, not confirmed: display"}));
    EXPECT_TRUE(manager->anythingActive());
    speak("de");
    EXPECT_EQ(
        texts("statusLine"), QStringList({"Wach · noch 1:00:00", "Wachhalten angefragt, nicht bestätigt: Display"}));
    EXPECT_EQ(text("kindNote_network"), "Aktiv über fake");
    EXPECT_EQ(text("kindNote_system"), "Nicht aktiv: nothing here");
    EXPECT_EQ(text("kindNote_display"), "Bei fake angefragt, nicht bestätigt: cannot show it");
    views->awake().toggleKind("network");
    EXPECT_EQ(texts("statusLine"), QStringList{"Wachhalten angefragt, nicht bestätigt: Display · noch 1:00:00"});
    EXPECT_EQ(text("awakeSummary"), "Nicht bestätigt · noch 1:00:00");
}

// Render Mode's section: the switch, DaVinci Resolve's progress or that it
// is not reachable, and the last session's summary once off.
TEST_F(PanelComponentTest, RenderModeShowsProgressAndTheLastSession)
{
    EXPECT_EQ(text("renderSummary"), "Off");
    EXPECT_EQ(text("renderNote"), "");
    flip("renderSwitch");
    EXPECT_TRUE(manager->renderMode()->enabled());
    EXPECT_EQ(text("renderSummary"), "On · 0m 00s · Waiting for DaVinci Resolve");
    EXPECT_FALSE(shown("renderBar"));
    EXPECT_TRUE(texts("statusLine").contains("🎬 Render Mode keeps the system and network awake"))
        << texts("statusLine").join(" | ").toStdString();

    manager->renderMode()->davinci()->apply(QJsonObject{
        {"ok", true}, {"rendering", true}, {"percent", 42}, {"index", 2}, {"total", 3}, {"project", "Trailer"}});
    clock.advance(65);
    manager->renderMode()->sample();
    EXPECT_EQ(text("renderSummary"), "On · 1m 05s · Job 2 of 3 · 42 %");
    EXPECT_EQ(item("renderBar")->property("value").toDouble(), 42.0);
    for (const double gpu : {60.0, 60.0, 95.0})
        helperReports({{"cpuTemp", 71.0}, {"gpuTemp", gpu}});
    EXPECT_EQ(views->render().liveText(), "CPU 71° · GPU 60°") << "the overlay shows no single GPU spike";
    speak("de");
    EXPECT_EQ(text("renderSummary"), "An · 1m 05s · Auftrag 2 von 3 · 42 %");

    EXPECT_TRUE(texts("statusLine").contains("🎬 Render Mode hält System und Netzwerk wach"))
        << texts("statusLine").join(" | ").toStdString();

    flip("renderSwitch");
    EXPECT_EQ(text("renderSummary"), "Aus");
    EXPECT_EQ(text("renderNote"), "Peak CPU — / GPU —") << "no reading, no verdict";
    EXPECT_FALSE(texts("statusLine").join(' ').contains("Render Mode"));

    // Nothing holds it: said so, not shown as keeping anything awake.
    speak("en");
    backend->refuse = true;
    flip("renderSwitch");
    EXPECT_TRUE(texts("statusLine").contains("Render Mode's keep-awake is not in force: nothing here"))
        << texts("statusLine").join(" | ").toStdString();
}

// Every text item in a scene whose text holds markup, and how many of those
// would read it as markup.
std::pair<int, QStringList> markupTexts(QQuickItem* root)
{
    int found = 0;
    QStringList asMarkup;
    QList<QQuickItem*> pending{root};
    while (!pending.isEmpty()) {
        QQuickItem* item = pending.takeFirst();
        pending.append(item->childItems());
        const QVariant format = item->property("textFormat");
        if (!format.isValid() || !item->property("text").toString().contains("<b>"))
            continue;
        ++found;
        if (format.toInt() != 0) // Text.PlainText
            asMarkup << item->property("text").toString();
    }
    return {found, asMarkup};
}

// Names from outside (an app's Name=, a drive's label, a project) are text:
// markup in them draws nothing, in the panel and on the overlay.
TEST_F(PanelComponentTest, OutsideNamesAreShownAsPlainText)
{
    runningApps.apps
        = {{"org.blender.Blender", "<b>Blender</b>", "/no.png"}, {"org.kde.kdenlive", "<b>Kdenlive</b>", ""}};
    manager->triggers()->addApp({"org.blender.Blender", "<b>Blender</b>", std::nullopt});
    manager->triggers()->setAutomationEnabled(true);
    volumes->volumes = {{"/media/ada/x", "<b>Footage</b>"}};
    views->drives().refresh();
    manager->drives()->add({"/media/ada/y", "<b>Archive</b>"});
    for (const char* section : {"automationExpanded", "drivesExpanded", "renderExpanded"})
        views->state().setProperty(section, true);
    views->automation().setPickerShown(true);
    manager->renderMode()->setEnabled(true);
    manager->renderMode()->davinci()->apply(QJsonObject{{"ok", true}, {"rendering", true}, {"percent", 5}, {"index", 1},
        {"total", 1}, {"project", "<b>Trailer</b><img src=\"http://127.0.0.1:9/x.png\">"}});
    QCoreApplication::processEvents();

    const auto [inPanel, panelMarkup] = markupTexts(view.contentItem());
    EXPECT_GE(inPanel, 4) << "the app, its candidate, the drives and the render must be on show";
    EXPECT_TRUE(panelMarkup.isEmpty()) << panelMarkup.join(" | ").toStdString();

    QQuickView overlay;
    overlay.setInitialProperties({{"render", QVariant::fromValue(static_cast<QObject*>(&views->render()))}});
    overlay.setSource(QUrl(QStringLiteral("qrc:/qml/RenderOverlay.qml")));
    ASSERT_EQ(overlay.status(), QQuickView::Ready);
    const auto [onOverlay, overlayMarkup] = markupTexts(overlay.contentItem());
    EXPECT_GE(onOverlay, 1) << "the project is on show";
    EXPECT_TRUE(overlayMarkup.isEmpty()) << overlayMarkup.join(" | ").toStdString();
    manager->renderMode()->setEnabled(false);
}

// The custom end starts 12 hours ahead; a picked end starts a session until then.
TEST_F(PanelComponentTest, TheCustomPickerStartsASessionUntilItsEnd)
{
    ui::AwakeView& awake = views->awake();
    EXPECT_EQ(awake.customEnd(), clock.now().toLocalTime().addSecs(12 * 3600));
    EXPECT_FALSE(shown("customStart"));
    views->state().setProperty("awakeExpanded", true);
    click("customEndButton");
    EXPECT_TRUE(shown("customStart"));

    awake.setCustomEnd(3, 8, 30);
    const QDateTime end(QDate(2026, 11, 24), QTime(8, 30));
    EXPECT_EQ(text("customEndText"), "Ends " + app::SleepManager::describeEnd(end, clock.now(), false));
    awake.setCustomEnd(0, 9, 0);
    EXPECT_EQ(text("customEndText"), "That time has already passed.");
    EXPECT_FALSE(item("customStart")->property("enabled").toBool());

    speak("de");
    EXPECT_EQ(text("customEndText"), "Diese Zeit ist schon vorbei.");
    awake.setCustomEnd(3, 8, 30);
    EXPECT_EQ(text("customEndText"), "Endet " + app::SleepManager::describeEnd(end, clock.now(), true));
    click("customStart");
    EXPECT_EQ(manager->expiresAt(), end);
    EXPECT_FALSE(shown("customStart")) << "the picker closes once the session runs";
}

// What the fans are doing, from off through watching and a floor to a manual
// boost spinning up, and the helper's heat protection taking over.
TEST_F(PanelComponentTest, FanStatusFollowsTheFanController)
{
    saysInBoth("fansSummary", "Off — the Mac runs its fans itself", "Aus — der Mac regelt seine Lüfter selbst");

    fan().setCoolingProfile(core::CoolingProfile::Kind::silent);
    fan().setFansEnabled(true);
    helperReports({{"cpuTemp", 60.0}}); // silent stays quiet below 62 °C
    saysInBoth("fansSummary", "Watching — quiet until it warms up", "Beobachtet — leise, bis es warm wird");

    fan().setCoolingProfile(core::CoolingProfile::Kind::balanced); // 60 °C: a floor of 20 %
    link.deliver();
    saysInBoth("fansSummary", "Fans spinning up …", "Lüfter drehen hoch …");
    const QVariantMap fanAtTarget{
        {"index", 0}, {"currentRPM", 2100}, {"minRPM", 1200}, {"maxRPM", 5700}, {"targetRPM", 2100}};
    helperReports({{"fans", QVariantList{fanAtTarget}}});
    saysInBoth("fansSummary", "Active · floor 20 %", "Aktiv · Untergrenze 20 %");
    EXPECT_EQ(texts("statusLine"), QStringList{"Fan control · Active · floor 20 %"});

    fan().setCoolingMode(app::CoolingMode::manual);
    saysInBoth("fansSummary", "Fans spinning up …", "Lüfter drehen hoch …");
    EXPECT_EQ(text("boostCountdown"), "Boost ends in 10:00");
    clock.advance(6);
    fan().pollTick();
    saysInBoth("fansSummary", "Fans starting any moment …", "Lüfter starten jeden Moment …");
    EXPECT_EQ(text("boostCountdown"), "Boost ends in 9:54");

    helperReports({{"thermalOverride", true}, {"effectivePercent", 80.0}});
    saysInBoth(
        "fansSummary", "Mac takes over — fans at 80% due to heat", "Mac übernimmt — Lüfter wegen Hitze auf 80 %");

    // A helper that can drive no fan: the reason, and no switch that cannot work.
    helperReports({{"fanControlUnavailable", "fan_control is off"}});
    EXPECT_EQ(text("fansSummary"), "Fan control unavailable on this computer: fan_control is off");
    EXPECT_FALSE(shown("fansSwitch"));
    EXPECT_FALSE(item("coolingMode")->isEnabled());
}

// The helper banner before the helper is there: its button runs the
// installer once at a time, the panel says what the password is for, and a
// successful install takes the banner away.
class PanelHelperBanner : public PanelComponentTest {
protected:
    void SetUp() override
    {
        link.available = false;
        installer = [this](auto done) {
            ++installs;
            pending = std::move(done);
        };
        PanelComponentTest::SetUp();
    }
    void finish(const app::InstallResult& result) { std::exchange(pending, {})(result); }

    int installs = 0;
    std::function<void(app::InstallResult)> pending;
};

TEST_F(PanelHelperBanner, InstallsOnceAtATimeAndGoesAfterSuccess)
{
    const QString missing = "The fan helper is not installed, so fan control is off.";
    EXPECT_EQ(text("helperLine"), missing);
    EXPECT_EQ(text("helperAction"), "Install");
    click("helperAction");
    EXPECT_EQ(text("helperLine"),
        "Quillon is installing a small helper for fan control. After this, everything runs without further password "
        "prompts.");
    speak("de");
    EXPECT_EQ(text("helperLine"),
        QString::fromUtf8("Quillon installiert ein Hilfswerkzeug zur Lüftersteuerung. Danach läuft alles ohne weitere "
                          "Passwort-Abfragen."));
    speak("en");
    EXPECT_FALSE(shown("helperAction"));
    fan().installHelper();
    EXPECT_EQ(installs, 1);

    finish(app::InstallResult::cancelled());
    EXPECT_EQ(text("helperLine"), missing + "\nInstallation abgebrochen");
    EXPECT_EQ(text("helperAction"), "Install");

    click("helperAction");
    link.available = true;
    finish(app::InstallResult::success());
    EXPECT_EQ(installs, 2);
    EXPECT_TRUE(link.isOpen()) << "the app reconnects";
    EXPECT_EQ(text("helperLine"), "Helper installiert");
    EXPECT_FALSE(shown("helperAction"));
}

// An installed helper that differs from the one this build brings.
class PanelUpdateBanner : public PanelComponentTest {
protected:
    void SetUp() override
    {
        bundledHelper = dir.path() + "/bundled";
        installedHelper = dir.path() + "/installed";
        ASSERT_TRUE(writeFile(bundledHelper, "helper 2"));
        ASSERT_TRUE(writeFile(installedHelper, "helper 1"));
        PanelComponentTest::SetUp();
    }
};

TEST_F(PanelUpdateBanner, AStaleHelperIsOfferedAnUpdate)
{
    EXPECT_EQ(text("helperLine"), "This version of Quillon comes with a newer fan helper.");
    saysInBoth("helperAction", "Update", "Aktualisieren");
}

TEST_F(PanelComponentTest, ProfilesAndTheirBlurbs)
{
    const struct {
        core::CoolingProfile::Kind kind;
        const char* english;
        const char* german;
    } profiles[] = {
        {core::CoolingProfile::Kind::silent, "Quiet — runs a bit cooler than macOS without getting loud.",
            "Leise — hält den Mac etwas kühler als macOS, ohne laut zu werden."},
        {core::CoolingProfile::Kind::balanced, "Keeps the Mac comfortably cool at moderate noise.",
            "Hält den Mac angenehm kühl bei moderater Lautstärke."},
        {core::CoolingProfile::Kind::max, "Maximum cooling — audible baseline, keeps the Mac cold.",
            "Maximale Kühlung — hörbarer Grundpegel, hält den Mac kalt."},
    };
    for (const auto& profile : profiles) {
        fan().setCoolingProfile(profile.kind);
        saysInBoth("profileBlurb", profile.english, profile.german);
    }
    speak("de");
    QStringList names;
    for (const QVariant& entry : views->fan().profiles())
        names.append(entry.toMap().value("label").toString());
    EXPECT_EQ(names, QStringList({"Leise", "Ausgewogen", "Max"}));

    // The curve marks the current temperature on the profile in force.
    helperReports({{"cpuTemp", 71.0}});
    const QVariantMap marker = item("profileCurve")->property("marker").toMap();
    EXPECT_DOUBLE_EQ(marker.value("temp").toDouble(), 71.0);
    EXPECT_DOUBLE_EQ(marker.value("percent").toDouble(), 95.0);
}

// No badge while nominal; then the badge's text and colour per level.
TEST_F(PanelComponentTest, TheThrottleBadgeNamesThePressure)
{
    EXPECT_FALSE(shown("badge"));
    const struct {
        Level level;
        const char* english;
        const char* german;
        QColor color;
    } levels[] = {
        {Level::fair, "Elevated", "Last erhöht", QColor::fromRgbF(0.8f, 0.66f, 0.1f)},
        {Level::serious, "Throttling", "Drosselung", QColor::fromRgbF(1.0f, 0.58f, 0.0f)},
        {Level::critical, "Critical", "Kritisch", QColor::fromRgbF(1.0f, 0.23f, 0.19f)},
    };
    for (const auto& l : levels) {
        thermal.set(l.level);
        EXPECT_TRUE(shown("badge"));
        EXPECT_EQ(item("badge")->property("color").value<QColor>(), l.color);
        saysInBoth("badgeText", l.english, l.german);
    }
    thermal.set(Level::nominal);
    EXPECT_FALSE(shown("badge"));
}

// The battery's charge and flow, read when the panel refreshes; nothing without a battery.
TEST_F(PanelComponentTest, TheBatteryHintSaysWhereThePowerGoes)
{
    EXPECT_FALSE(shown("batteryHint"));
    const struct {
        bool onAC;
        qint64 milliamperes;
        const char* english;
        const char* german;
    } cases[] = {
        {false, -1500, "Battery 42% · on battery, using 17 W", "Akku 42 % · auf Akku, verbraucht 17 W"},
        {true, 2000, "Battery 42% · charging with 22 W", "Akku 42 % · lädt mit 22 W"},
        {true, -500, "Battery 42% · adapter too weak, draining 6 W", "Akku 42 % · Netzteil zu schwach, entlädt 6 W"},
        {true, 10, "Battery 42% · on power", "Akku 42 % · am Netz"},
    };
    for (const auto& c : cases) {
        supply->battery(42, c.onAC);
        supply->reading.millivolts = 11000;
        supply->reading.milliamperes = c.milliamperes;
        views->state().refreshPower();
        saysInBoth("batteryHint", c.english, c.german);
    }
    EXPECT_TRUE(shown("batteryHint"));
}

// Closed-lid keep-awake puts its cooling profile in force, which the fan
// section says; an automatic stop leaves its reason under the section's
// header until the user switches it on again. A lid lock the helper cannot
// take leaves the switch off, with the reason.
TEST_F(PanelComponentTest, ClosedLidShowsWhyItStopped)
{
    EXPECT_FALSE(shown("lidNote"));
    link.lidRefusal = "lid-stay-awake refused: no logind";
    flip("lidSwitch");
    link.deliver();
    EXPECT_FALSE(manager->lid()->enabled());
    EXPECT_EQ(item("lidSwitch")->property("checked"), false);
    EXPECT_EQ(text("lidSummary"), "Off");
    EXPECT_EQ(text("lidNote"), "Not in force: The fan helper could not take the lid lock: no logind");

    link.lidRefusal.clear();
    flip("lidSwitch");
    EXPECT_TRUE(manager->lid()->enabled());
    EXPECT_EQ(text("lidSummary"), "On — stays awake with the lid closed");
    EXPECT_EQ(text("triggerNote"), "In force: Balanced, asked for by closed lid or automation");
    thermal.set(Level::serious);
    EXPECT_FALSE(manager->lid()->enabled());
    EXPECT_TRUE(shown("lidNote"));
    EXPECT_EQ(text("lidNote"), manager->lid()->lastAutoOff());
    EXPECT_EQ(text("triggerNote"), "");
    speak("de");
    EXPECT_EQ(text("lidSummary"), "Aus");
    manager->lid()->setEnabled(true);
    EXPECT_EQ(text("lidNote"), "Wird geprüft, ob logind (Lüfter-Helper) es hält …");
    EXPECT_EQ(text("lidSummary"), "An — bleibt zugeklappt wach");
    EXPECT_EQ(text("triggerNote"), "Aktiv: Ausgewogen, angefordert von Zugeklappt oder Automatik");
}

// The automation section: its switches, an app picked from the installed
// ones and given a cooling, and what holds it, in both languages (pictures
// of both kept in QUILLON_ARTIFACT_DIR).
TEST_F(PanelComponentTest, AutomationIsSwitchedOnAndGivenAnApp)
{
    runningApps.apps = {{"org.kde.kdenlive", "Kdenlive", "kdenlive"}, {"org.blender.Blender", "Blender", "/no.png"},
        {"resolve", "DaVinci Resolve", ""}};
    app::TriggerManager& triggers = *manager->triggers();
    EXPECT_EQ(text("automationSummary"), "Off");
    flip("automationSwitch");
    EXPECT_TRUE(triggers.automationEnabled());
    EXPECT_EQ(text("automationSummary"), "On — waiting for a rule");
    views->state().setProperty("automationExpanded", true);
    EXPECT_TRUE(shown("noApps"));

    click("addApp");
    EXPECT_TRUE(shown("appPicker"));
    EXPECT_TRUE(shown("candidate_resolve"));
    item("appSearch")->setProperty("text", "BLEND");
    QMetaObject::invokeMethod(item("appSearch"), "textEdited");
    EXPECT_TRUE(shown("candidate_org.blender.Blender"));
    EXPECT_FALSE(item("candidate_resolve"));
    click("candidate_org.blender.Blender");
    EXPECT_FALSE(shown("appPicker")) << "the picker closes once an app is chosen";
    EXPECT_EQ(texts("appName"), QStringList{"Blender"});
    EXPECT_FALSE(shown("noApps"));

    QQuickItem* cooling = item("appCooling_org.blender.Blender");
    ASSERT_TRUE(cooling);
    EXPECT_EQ(cooling->property("currentText"), "No cooling");
    cooling->setProperty("currentIndex", 3);
    QMetaObject::invokeMethod(cooling, "activated", Q_ARG(int, 3));
    EXPECT_EQ(triggers.apps().first().cooling, core::CoolingProfile::Kind::max);

    backend->confirmLater = true;
    runningApps.set("org.blender.Blender", true);
    // First what keeps it awake, then the fans that its cooling drives; "Auto
    // keep-awake" only once the system shows it in force.
    EXPECT_EQ(texts("statusLine").value(0), "Auto keep-awake asked for, not confirmed (Blender)");
    EXPECT_EQ(text("automationSummary"), "On — Blender (asked for, not confirmed)");
    EXPECT_EQ(text("automationNote"), "Checking that fake holds it…");
    backend->settle(
        triggers.assertions().ids().at(Kind::system), quillon::platform::PowerAssertionState::Phase::inForce);
    EXPECT_EQ(texts("statusLine").value(0), "🤖 Auto keep-awake (Blender)");
    EXPECT_TRUE(texts("statusLine").value(1).startsWith("Fan control"));
    EXPECT_EQ(text("automationSummary"), "On — Blender");
    EXPECT_EQ(text("triggerNote"), "In force: Max, asked for by closed lid or automation");
    picture("automation-en.png");

    flip("onACSwitch"); // a desktop on mains
    speak("de");
    EXPECT_EQ(text("automationTitle"), "Automatik");
    EXPECT_EQ(text("automationSummary"), "An — am Netzteil, Blender");
    EXPECT_EQ(texts("statusLine").value(0), "🤖 Automatisch wach (am Netzteil, Blender)");
    EXPECT_EQ(text("appsHeading"), "Solange diese Apps laufen");
    EXPECT_EQ(item("extDisplaySwitch")->property("text"), "Solange ein externer Bildschirm angeschlossen ist");
    displays.present = true;
    flip("extDisplaySwitch");
    EXPECT_EQ(text("automationSummary"), "An — am Netzteil, externer Bildschirm, Blender");
    picture("automation-de.png");

    // Refused by the system: not shown as keeping awake, with the reason.
    backend->confirmLater = false;
    const auto ids = triggers.assertions().ids();
    for (const auto& [kind, id] : ids)
        backend->settle(id, quillon::platform::PowerAssertionState::Phase::failed, "kein Dienst");
    EXPECT_EQ(text("automationSummary"), "Nicht aktiv");
    EXPECT_EQ(texts("statusLine").value(0), "Automatisch wach ist nicht aktiv: kein Dienst");
    EXPECT_EQ(text("automationNote"), "Nicht aktiv: kein Dienst");

    click("appRemove_org.blender.Blender");
    EXPECT_TRUE(triggers.apps().isEmpty());
    EXPECT_TRUE(shown("noApps"));
}

// A pause from the panel: what the head and the sections say while it
// lasts (what goes on included), in both languages, and the resume.
TEST_F(PanelComponentTest, APauseIsShownWithItsEndAndResumed)
{
    views->awake().stayAwakeFor(3600);
    flip("automationSwitch");
    flip("onACSwitch");
    views->state().setProperty("awakeExpanded", true);
    EXPECT_EQ(text("pauseHeading"), "Pause for");
    EXPECT_FALSE(shown("resume"));

    views->awake().pauseFor(1800);
    EXPECT_EQ(texts("statusLine"),
        (QStringList{"⏸ Paused until 12:30 PM · Render Mode, closed lid and fan control go on",
            "Session paused · 1:00:00 left", "Auto keep-awake paused (on AC power)"}));
    EXPECT_EQ(text("awakeSummary"), "Paused until 12:30 PM");
    EXPECT_EQ(text("automationSummary"), "On — paused");
    EXPECT_EQ(item("kind_system")->property("checked"), true) << "still asked for";
    EXPECT_TRUE(shown("resume"));
    EXPECT_FALSE(shown("pauseChoices"));
    picture("pause-en.png");
    speak("de");
    EXPECT_EQ(texts("statusLine").value(0),
        "⏸ Pausiert bis 12:30 · Render Mode, Zugeklappt und Lüftersteuerung laufen weiter");
    EXPECT_EQ(text("automationSummary"), "An — pausiert");

    click("resume");
    EXPECT_EQ(texts("statusLine").value(0), "Wach · noch 1:00:00");
    EXPECT_EQ(text("pauseHeading"), "Pause für");
}

// Asked until answered; the answer switches the login item and is remembered.
TEST_F(PanelComponentTest, TheLoginQuestionIsAskedUntilAnswered)
{
    EXPECT_TRUE(shown("loginPrompt"));
    speak("de");
    EXPECT_EQ(text("loginYes"), "Ja");
    click("loginYes");
    EXPECT_FALSE(shown("loginPrompt"));
    EXPECT_TRUE(settings.flag(app::Settings::Key::loginChoiceMade));
    EXPECT_TRUE(loginItem.isEnabled());
    EXPECT_TRUE(views->state().launchAtLogin());
}

// The automation section says what it cannot do: the 12 % rule exists only
// while the low-battery stop is on, and a full list says why nothing more can
// be added, in place of the button that would do nothing.
TEST_F(PanelComponentTest, TheAutomationSectionSaysWhatItCannotDo)
{
    views->state().setProperty("automationExpanded", true);
    EXPECT_TRUE(shown("batteryStopCaption"));
    EXPECT_EQ(text("batteryStopCaption"), "Holds nothing on battery at 12 % or less.");
    settings.setFlag(app::Settings::Key::lowBatteryAutoStop, false);
    EXPECT_FALSE(shown("batteryStopCaption"));
    settings.setFlag(app::Settings::Key::lowBatteryAutoStop, true);
    EXPECT_TRUE(shown("batteryStopCaption"));

    app::TriggerManager& triggers = *manager->triggers();
    for (int i = 0; i < app::TriggerManager::maxApps; ++i)
        triggers.addApp({QString("org.example.App%1").arg(i), QString("App %1").arg(i), std::nullopt});
    EXPECT_FALSE(shown("addApp"));
    EXPECT_TRUE(shown("addAppRefusal"));
    EXPECT_TRUE(text("addAppRefusal").contains("200")) << text("addAppRefusal").toStdString();
    triggers.removeApp("org.example.App0");
    EXPECT_TRUE(shown("addApp"));
    EXPECT_FALSE(shown("addAppRefusal"));
}

} // namespace
} // namespace quillon::test
