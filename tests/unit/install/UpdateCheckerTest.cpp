// The update check against a real local HTTP server: what a feed offers is
// published only when newer, numeric version order, and every bad answer
// (garbage, no version or a malformed one, too big, missing, no answer at
// all) leaves what was known alone.
#include "app/install/UpdateChecker.h"

#include "support/EventLoop.h"
#include "support/FeedServer.h"
#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

using quillon::app::UpdateChecker;
using quillon::test::FeedServer;
using quillon::test::waitUntil;

namespace {

class UpdateCheckerTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(feed.ready()); }
    // One check of the feed at /appcast.json by a checker running `running`.
    void checkAs(UpdateChecker& checker)
    {
        const int before = checker.finishedChecks();
        checker.check();
        ASSERT_TRUE(waitUntil([&] { return checker.finishedChecks() > before; }, std::chrono::seconds(15)));
    }

    FeedServer feed;
};

TEST(UpdateVersions, CompareNumericallyPartByPart)
{
    EXPECT_EQ(UpdateChecker::compareVersions("1.10", "1.9"), 1);
    EXPECT_EQ(UpdateChecker::compareVersions("1.9", "1.10"), -1);
    EXPECT_EQ(UpdateChecker::compareVersions("1.2", "1.2"), 0);
    EXPECT_EQ(UpdateChecker::compareVersions("2.0", "1.9.3"), 1);
    EXPECT_EQ(UpdateChecker::compareVersions("1.2", "1.2.1"), -1);
    EXPECT_EQ(UpdateChecker::compareVersions("1.02", "1.2"), 0);
    EXPECT_EQ(UpdateChecker::compareVersions("10.0", "9.9"), 1);
}

TEST_F(UpdateCheckerTest, ANewerVersionIsPublishedAndTheSameOneClearsIt)
{
    feed.serve("appcast.json",
        R"({"shortVersion": "2.0", "version": "200", "url": "https://example.org/q-2.0.deb", "notes": "Faster."})");
    UpdateChecker older(feed.url("appcast.json"), "1.9.3");
    checkAs(older);
    EXPECT_EQ(older.latestVersion(), "2.0");
    EXPECT_EQ(older.downloadURL(), QUrl("https://example.org/q-2.0.deb"));
    EXPECT_EQ(older.releaseNotes(), "Faster.");
    EXPECT_TRUE(older.lastAnswered());
    // The check ran in a process of its own: this one never loaded a network or TLS library.
    const QByteArray maps = quillon::test::readFile("/proc/self/maps");
    ASSERT_FALSE(maps.isEmpty());
    EXPECT_FALSE(maps.contains("libQt6Network")) << "QtNetwork is mapped";
    EXPECT_FALSE(maps.contains("libssl")) << "a TLS library is mapped";

    feed.serve("appcast.json", R"({"shortVersion": "1.9.3", "url": "https://example.org/old.deb"})");
    checkAs(older);
    EXPECT_EQ(older.latestVersion(), "");
    EXPECT_FALSE(older.downloadURL().isValid());
    EXPECT_EQ(older.releaseNotes(), "");
}

// An update without a web address for its download still counts; the
// download then opens the home page, never a file or a script.
TEST_F(UpdateCheckerTest, OnlyAVersionAndNoWebAddressStillCount)
{
    for (const char* body : {R"({"version": "3.1"})", R"({"version": "3.1", "url": "file:///etc/passwd"})",
             R"j({"version": "3.1", "url": "javascript:alert(1)"})j",
             R"({"version": "3.1", "url": "https:///nohost"})"}) {
        feed.serve("appcast.json", body);
        UpdateChecker checker(feed.url("appcast.json"), "3.0");
        checkAs(checker);
        EXPECT_EQ(checker.latestVersion(), "3.1") << body;
        EXPECT_FALSE(checker.downloadURL().isValid()) << body;
        EXPECT_EQ(checker.downloadTarget(), UpdateChecker::homePage()) << body;
    }
}

TEST_F(UpdateCheckerTest, BadAnswersChangeNothing)
{
    feed.serve("appcast.json", R"({"shortVersion": "5.0", "url": "https://example.org/5.deb"})");
    UpdateChecker checker(feed.url("appcast.json"), "4.0");
    checkAs(checker);
    ASSERT_EQ(checker.latestVersion(), "5.0");

    const QByteArray tooBig = R"({"shortVersion": "9.0", "notes": ")" + QByteArray(100 * 1024, 'x') + R"("})";
    for (const QByteArray& body : {QByteArray("<html>maintenance</html>"), QByteArray("[\"6.0\"]"),
             QByteArray(R"({"url": "https://example.org/"})"), tooBig, QByteArray(R"({"shortVersion": ""})"),
             QByteArray(R"({"shortVersion": "v6"})"), QByteArray(R"({"shortVersion": "6..1"})"),
             QByteArray(R"({"shortVersion": 7})"), QByteArray(R"({"version": "6.0-beta"})"),
             QByteArray(R"({"version": "9.0\n"})")}) {
        feed.serve("appcast.json", body);
        checkAs(checker);
        EXPECT_EQ(checker.latestVersion(), "5.0") << body.left(40).toStdString();
        EXPECT_FALSE(checker.lastAnswered());
    }
    UpdateChecker missing(feed.url("nothing-here.json"), "4.0");
    checkAs(missing);
    EXPECT_EQ(missing.latestVersion(), "");
    EXPECT_FALSE(missing.lastAnswered());
}

// A server that takes the request and never answers: the check ends by
// itself after its timeout (shortened here), silently, and can run again.
TEST_F(UpdateCheckerTest, ASilentServerIsGivenUpAfterTheTimeout)
{
    UpdateChecker checker(feed.url("silent/appcast.json"), "1.0", nullptr, 300);
    for (int round = 0; round < 2; ++round) {
        QElapsedTimer took;
        took.start();
        checker.check();
        EXPECT_TRUE(checker.checking());
        ASSERT_TRUE(waitUntil([&] { return checker.finishedChecks() == round + 1; }, std::chrono::seconds(5)));
        EXPECT_GE(took.elapsed(), 250);
        EXPECT_FALSE(checker.lastAnswered());
        EXPECT_EQ(checker.latestVersion(), "");
    }
}

// Servers that answer, but never in time or never within bounds: each check
// still ends by itself within its deadline, and what they offer is ignored.
class HostileFeed : public UpdateCheckerTest {
protected:
    void SetUp() override
    {
        UpdateCheckerTest::SetUp();
        feed.serve("appcast.json", R"({"shortVersion": "9.0"})");
    }
    // Whether a check by a checker with this deadline ended within
    // `within`, and what it published.
    QString checkWithDeadline(const QString& path, int deadlineMs, std::chrono::seconds within, bool& ended)
    {
        UpdateChecker checker(feed.url(path), "1.0", nullptr, deadlineMs);
        checker.check();
        ended = waitUntil([&] { return checker.finishedChecks() == 1; }, within);
        return checker.latestVersion();
    }
};

// A byte every 0.2 s is never a silence of a second, so only a deadline on
// the whole check ends a trickle; a huge announced length must end the check
// before its long deadline (the body starts with a valid feed, then stalls).
TEST_F(HostileFeed, EachCheckEndsInTimeAndTakesOnlyWhatIsInBounds)
{
    const struct {
        const char* path;
        int deadlineMs;
        const char* published;
    } cases[] = {
        {"drip/appcast.json", 1000, ""},
        {"redirect/3/appcast.json", 5000, "9.0"},
        {"redirect/4/appcast.json", 5000, ""},
        {"huge/appcast.json", 60000, ""},
    };
    for (const auto& c : cases) {
        bool ended = false;
        EXPECT_EQ(checkWithDeadline(c.path, c.deadlineMs, std::chrono::seconds(8), ended), c.published) << c.path;
        EXPECT_TRUE(ended) << c.path;
    }
}

TEST(UpdateCheckerOff, AnEmptyFeedNeverAsks)
{
    UpdateChecker off(QUrl(), "1.0");
    EXPECT_FALSE(off.enabled());
    off.check();
    EXPECT_FALSE(off.checking());
    EXPECT_EQ(off.finishedChecks(), 0);
}

} // namespace
