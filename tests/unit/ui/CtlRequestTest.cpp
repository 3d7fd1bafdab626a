#include "ui/ctl/CtlRequest.h"

#include <gtest/gtest.h>

namespace {

using quillon::ui::CtlRequest;
using Verb = CtlRequest::Verb;

// Saturday 21 November 2026, 22:30 local time (the tests run in UTC).
const QDateTime now(QDate(2026, 11, 21), QTime(22, 30));

CtlRequest parsed(const QStringList& args)
{
    const auto result = CtlRequest::parse(args, now);
    if (const auto* error = std::get_if<CtlRequest::Error>(&result)) {
        ADD_FAILURE() << args.join(' ').toStdString() << ": " << error->message.toStdString();
        return {};
    }
    return std::get<CtlRequest>(result);
}

QString problem(const QStringList& args)
{
    const auto result = CtlRequest::parse(args, now);
    const auto* error = std::get_if<CtlRequest::Error>(&result);
    return error ? error->message : QString();
}

TEST(CtlRequest, DurationsAreWholeUnitsInOrder)
{
    EXPECT_EQ(CtlRequest::parseDuration("90s"), 90);
    EXPECT_EQ(CtlRequest::parseDuration("45m"), 2700);
    EXPECT_EQ(CtlRequest::parseDuration("1h30m"), 5400);
    EXPECT_EQ(CtlRequest::parseDuration("2d"), 172800);
    EXPECT_EQ(CtlRequest::parseDuration("1d2h3m4s"), 93784);
    for (const char* bad : {"", "0s", "90", "1.5h", "30m1h", "h", "-5m", "1 h", "99999999d"})
        EXPECT_FALSE(CtlRequest::parseDuration(bad)) << bad;
}

// A bare time is the next such time: later today, or tomorrow.
TEST(CtlRequest, TimesAreTheNextOccurrenceOrAFullDate)
{
    EXPECT_EQ(CtlRequest::parseTime("23:15", now), QDateTime(QDate(2026, 11, 21), QTime(23, 15)));
    EXPECT_EQ(CtlRequest::parseTime("7:00", now), QDateTime(QDate(2026, 11, 22), QTime(7, 0)));
    EXPECT_EQ(CtlRequest::parseTime("22:30", now), QDateTime(QDate(2026, 11, 22), QTime(22, 30)));
    EXPECT_EQ(CtlRequest::parseTime("2026-12-24T18:00", now), QDateTime(QDate(2026, 12, 24), QTime(18, 0)));
    EXPECT_EQ(CtlRequest::parseTime("2026-12-24 18:00:30", now), QDateTime(QDate(2026, 12, 24), QTime(18, 0, 30)));
    for (const char* bad : {"25:00", "7pm", "tomorrow", "2026-13-01T00:00", ""})
        EXPECT_FALSE(CtlRequest::parseTime(bad, now)) << bad;
}

TEST(CtlRequest, AwakeResolvesItsEndAndKinds)
{
    const CtlRequest forAnHour = parsed({"awake", "--for", "1h"});
    EXPECT_EQ(forAnHour.verb, Verb::awake);
    EXPECT_EQ(forAnHour.until, now.addSecs(3600));
    EXPECT_EQ(forAnHour.kinds, QStringList({"system", "display"}));

    const CtlRequest open = parsed({"awake", "--kinds", "network,system,network"});
    EXPECT_FALSE(open.until.isValid());
    EXPECT_EQ(open.kinds, QStringList({"network", "system"}));

    EXPECT_EQ(
        parsed({"awake", "--until", "06:00", "--kinds", "display"}).until, QDateTime(QDate(2026, 11, 22), QTime(6, 0)));
    EXPECT_EQ(parsed({"awake", "--off"}).verb, Verb::awakeOff);
}

TEST(CtlRequest, FansTakeOffAutoOrAManualFloor)
{
    EXPECT_EQ(parsed({"fans", "off"}).verb, Verb::fansOff);
    const CtlRequest automatic = parsed({"fans", "auto"});
    EXPECT_EQ(automatic.verb, Verb::fansAuto);
    EXPECT_EQ(automatic.profile, "");
    EXPECT_EQ(parsed({"fans", "auto", "max"}).profile, "max");
    const CtlRequest manual = parsed({"fans", "manual", "60%", "--for", "10m"});
    EXPECT_EQ(manual.verb, Verb::fansManual);
    EXPECT_EQ(manual.percent, 60);
    EXPECT_EQ(manual.boostSeconds, 600);
    EXPECT_EQ(parsed({"fans", "manual", "0"}).boostSeconds, 0);
    EXPECT_TRUE(parsed({"lid", "on"}).on);
    EXPECT_EQ(parsed({"render", "off"}).verb, Verb::render);
    EXPECT_FALSE(parsed({"render", "off"}).on);
    EXPECT_EQ(parsed({"reset"}).verb, Verb::reset);
    EXPECT_EQ(parsed({"status"}).verb, Verb::status);
    EXPECT_EQ(parsed({"settings"}).verb, Verb::settings);
}

// Every mistake is a usage error that names what was wrong.
TEST(CtlRequest, MistakesAreUsageErrors)
{
    const struct {
        QStringList args;
        const char* says;
    } cases[] = {
        {{}, "which command"},
        {{"sleep"}, "unknown command: sleep"},
        {{"status", "--json"}, "wrong arguments for status"},
        {{"awake", "--for"}, "--for needs a value"},
        {{"awake", "--for", "soon"}, "not a duration: soon"},
        {{"awake", "--for", "1h", "--until", "23:00"}, "one of --for, --until and --off"},
        {{"awake", "--off", "--for", "1h"}, "one of --for, --until and --off"},
        {{"awake", "--until", "2026-11-21T08:00"}, "has already passed"},
        {{"awake", "--kinds", "system,keyboard"}, "--kinds takes"},
        {{"awake", "--off", "--kinds", "system"}, "takes no --kinds"},
        {{"awake", "--forever"}, "awake does not know --forever"},
        {{"fans"}, "fans takes off, auto"},
        {{"fans", "auto", "turbo"}, "unknown profile: turbo"},
        {{"fans", "manual", "120"}, "not a percentage from 0 to 100: 120"},
        {{"fans", "manual", "50", "--for"}, "fans takes off, auto"},
        {{"fans", "manual", "50", "--for", "ever"}, "takes --for DURATION"},
        {{"fans", "off", "now"}, "fans takes off, auto"},
        {{"lid", "maybe"}, "wrong arguments for lid"},
        {{"settings", "now"}, "wrong arguments for settings"},
    };
    for (const auto& c : cases) {
        const QString message = problem(c.args);
        EXPECT_TRUE(message.contains(QString::fromUtf8(c.says)))
            << c.args.join(' ').toStdString() << " -> " << message.toStdString();
    }
}

// Whatever was typed, an error quotes a recognisable start of it on one line.
TEST(HostileCtlInput, MistakesQuoteAtMostAShortLineOfTheInput)
{
    const QString huge = QString("x").repeated(8 * 1024 * 1024);
    for (const QStringList& args :
        {QStringList{huge}, QStringList{"awake", "--for", huge}, QStringList{"awake", "--kinds", huge},
            QStringList{"fans", "auto", huge}, QStringList{"awake", "--until", "soon\n\x1b[2Jcleared"}}) {
        const QString message = problem(args);
        EXPECT_LT(message.size(), 200) << message.left(200).toStdString();
        EXPECT_FALSE(message.contains('\n')) << message.toStdString();
        EXPECT_FALSE(message.contains(QChar(0x1b))) << message.toStdString();
        EXPECT_TRUE(message.contains("xxxxxxxxxx…") || message.contains("soon?")) << message.toStdString();
    }
}

// Everything after "--" is the command, options included; --while takes one pid.
TEST(CtlRequest, AwakeWhileAProcessOrACommandRuns)
{
    const CtlRequest run = parsed({"awake", "--", "make", "--for", "-j2"});
    EXPECT_EQ(run.verb, Verb::awakeRun);
    EXPECT_EQ(run.command, QStringList({"make", "--for", "-j2"}));
    const CtlRequest whileRunning = parsed({"awake", "--while", "4242"});
    EXPECT_EQ(whileRunning.verb, Verb::awakeWhile);
    EXPECT_EQ(whileRunning.pid, 4242);
    for (const QStringList& bad :
        {QStringList{"awake", "--"}, QStringList{"awake", "--for", "1h", "--", "make"}, QStringList{"awake", "--while"},
            QStringList{"awake", "--while", "0"}, QStringList{"awake", "--while", "-5"},
            QStringList{"awake", "--while", "12x"}, QStringList{"awake", "--while", "1", "2"}})
        EXPECT_FALSE(problem(bad).isEmpty()) << bad.join(' ').toStdString();
}

TEST(CtlRequest, PauseForAWhileOrUntilResumed)
{
    EXPECT_EQ(parsed({"pause", "--for", "30m"}).until, now.addSecs(1800));
    const CtlRequest open = parsed({"pause"});
    EXPECT_EQ(open.verb, Verb::pause);
    EXPECT_FALSE(open.until.isValid());
    EXPECT_EQ(parsed({"resume"}).verb, Verb::resume);
    for (const QStringList& bad : {QStringList{"pause", "--for"}, QStringList{"pause", "--for", "0s"},
             QStringList{"pause", "30m"}, QStringList{"pause", "--until", "14:30"}, QStringList{"resume", "now"}})
        EXPECT_FALSE(problem(bad).isEmpty()) << bad.join(' ').toStdString();
}

TEST(CtlRequest, AutomationSwitchAndItsList)
{
    EXPECT_TRUE(parsed({"auto", "on"}).automationOn);
    EXPECT_EQ(parsed({"auto", "off"}).verb, Verb::automation);
    const CtlRequest add = parsed({"auto", "add", "org.kde.kdenlive", "--cooling", "max"});
    EXPECT_EQ(add.verb, Verb::autoAdd);
    EXPECT_EQ(add.appId, "org.kde.kdenlive");
    EXPECT_EQ(add.cooling, "max");
    EXPECT_EQ(parsed({"auto", "add", "resolve"}).cooling, "");
    EXPECT_EQ(parsed({"auto", "remove", "resolve"}).verb, Verb::autoRemove);
    EXPECT_EQ(
        problem({"auto", "add", "resolve", "--cooling", "Max"}), "unknown cooling: Max (silent, balanced or max)");
    for (const QStringList& bad : {QStringList{"auto"}, QStringList{"auto", "maybe"}, QStringList{"auto", "add"},
             QStringList{"auto", "add", "a", "--cooling"}, QStringList{"auto", "add", "a", "--speed", "max"},
             QStringList{"auto", "remove"}, QStringList{"auto", "on", "now"}})
        EXPECT_FALSE(problem(bad).isEmpty()) << bad.join(' ').toStdString();
}

} // namespace
