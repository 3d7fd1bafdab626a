// The render-queue follower runs the real Python with its inline script
// against a stand-in of Resolve's scripting module (tests/fixtures/resolve)
// that plays a render queue, and against interpreters that misbehave:
// garbage, a non-object, a flood, nothing, a failing exit, a hang. None of
// those may count as reachable, block the caller or outlive stop().
#include "app/automation/DaVinciMonitor.h"

#include "support/EventLoop.h"
#include "support/QStringPrinter.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>

using quillon::app::DaVinciMonitor;
using quillon::test::waitUntil;
using namespace std::chrono_literals;

namespace {

class DaVinciScriptTest : public ::testing::Test {
protected:
    void SetUp() override { qputenv("QUILLON_TEST_RESOLVE_STATE", statePath().toLocal8Bit()); }
    void TearDown() override { qunsetenv("QUILLON_TEST_RESOLVE_STATE"); }

    QString statePath() const { return dir.filePath("resolve.json"); }
    void resolveIs(const QJsonObject& state)
    {
        QFile file(statePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QJsonDocument(state).toJson());
    }
    // An "interpreter" that ignores the script and runs this shell text instead.
    QString interpreter(const QString& name, const QByteArray& body)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + body + "\n");
        file.close();
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
        return path;
    }
    // One poll, waited for.
    void pollOnce(DaVinciMonitor& monitor)
    {
        int changes = 0;
        const auto connection = QObject::connect(&monitor, &DaVinciMonitor::changed, [&] { ++changes; });
        monitor.poll();
        EXPECT_TRUE(waitUntil([&] { return changes > 0; }, 10s));
        QObject::disconnect(connection);
    }

    QTemporaryDir dir;
};

TEST_F(DaVinciScriptTest, FollowsAQueueThroughItsRenderToTheFinish)
{
    DaVinciMonitor monitor(QUILLON_PYTHON, QUILLON_RESOLVE_STANDIN);
    int finishes = 0;
    monitor.onRenderFinished = [&] {
        ++finishes;
    };

    // The second of two jobs renders from 0 to 100 %.
    for (const int percent : {0, 42, 100}) {
        resolveIs({{"running", true}, {"project", "Trailer"}, {"rendering", true},
            {"jobs",
                QJsonArray{QJsonObject{{"JobId", "a"}, {"JobStatus", "Complete"}, {"CompletionPercentage", 100}},
                    QJsonObject{{"JobId", "b"}, {"JobStatus", "Rendering"}, {"CompletionPercentage", percent}}}}});
        pollOnce(monitor);
        EXPECT_TRUE(monitor.available());
        EXPECT_TRUE(monitor.rendering());
        EXPECT_EQ(monitor.percent(), percent);
        EXPECT_EQ(monitor.jobIndex(), 2);
        EXPECT_EQ(monitor.jobTotal(), 2);
        EXPECT_EQ(monitor.project(), "Trailer");
    }
    EXPECT_EQ(finishes, 0);

    resolveIs({{"running", true}, {"project", "Trailer"}, {"rendering", false}, {"jobs", QJsonArray{}}});
    pollOnce(monitor);
    EXPECT_TRUE(monitor.justFinished());
    EXPECT_EQ(finishes, 1);

    // Resolve gone, its scripting off, its module failing: not reachable, and no finish.
    for (const QJsonObject& state :
        {QJsonObject{{"running", false}}, QJsonObject{{"raise", "scripting is disabled"}}, QJsonObject{}}) {
        resolveIs(state);
        pollOnce(monitor);
        EXPECT_FALSE(monitor.available()) << QJsonDocument(state).toJson().toStdString();
    }
    EXPECT_EQ(finishes, 1);
}

TEST_F(DaVinciScriptTest, AnythingButOneObjectOnACleanExitIsNotReachable)
{
    const std::pair<const char*, QByteArray> interpreters[] = {
        {"garbage", "echo 'Traceback (most recent call last):'"},
        {"array", "echo '[{\"ok\": true}]'"},
        {"nothing", "exit 0"},
        {"failing", "echo '{\"ok\": true, \"rendering\": true}'; exit 3"},
        {"flood", "head -c 300000 /dev/zero | tr '\\0' ' '; echo '{\"ok\": true}'"},
    };
    for (const auto& [name, body] : interpreters) {
        DaVinciMonitor monitor(interpreter(name, body), QUILLON_RESOLVE_STANDIN);
        monitor.apply(QJsonObject{{"ok", true}});
        pollOnce(monitor);
        EXPECT_FALSE(monitor.available()) << name;
    }
}

TEST_F(DaVinciScriptTest, AHungInterpreterIsKilledAndNeverPilesUp)
{
    const QString pids = dir.filePath("pids");
    DaVinciMonitor monitor(
        interpreter("hung", "echo $$ >> '" + pids.toLocal8Bit() + "'; exec sleep 30"), QUILLON_RESOLVE_STANDIN, 400);
    monitor.apply(QJsonObject{{"ok", true}});
    monitor.poll();
    EXPECT_TRUE(monitor.available()) << "a poll only starts the run; the caller goes on";
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(pids); }));
    monitor.poll(); // still running: no second run
    EXPECT_TRUE(waitUntil([&] { return !monitor.available(); }, 5s)) << "the timeout counts as a failed poll";

    // A run in progress at stop() is gone with it.
    monitor.poll();
    ASSERT_TRUE(waitUntil([&] {
        QFile file(pids);
        return file.open(QIODevice::ReadOnly) && file.readAll().count('\n') == 2;
    }));
    monitor.stop();
    QFile file(pids);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> started = file.readAll().trimmed().split('\n');
    EXPECT_EQ(started.size(), 2) << "one run at a time";
    for (const QByteArray& pid : started)
        EXPECT_NE(::kill(pid.toInt(), 0), 0) << "run " << pid.toStdString() << " is still there";
}

} // namespace
