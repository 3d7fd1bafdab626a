// The render-queue follower runs the real Python with its inline script
// against a stand-in of Resolve's scripting module (tests/fixtures/resolve)
// that plays a render queue, and against interpreters that misbehave:
// garbage, a non-object, a flood, nothing, a failing exit, a hang. None of
// those may count as reachable, block the caller or outlive stop().
#include "app/automation/DaVinciMonitor.h"

#include "support/EventLoop.h"
#include "support/Processes.h"
#include "support/QStringPrinter.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>

using quillon::app::DaVinciMonitor;
using quillon::test::processAlive;
using quillon::test::waitUntil;
using namespace std::chrono_literals;

namespace {

QJsonObject renderingJob(const char* status)
{
    return {{"running", true}, {"project", "Trailer"}, {"rendering", QLatin1String(status) == "Rendering"},
        {"jobs", QJsonArray{QJsonObject{{"JobId", "b"}, {"JobStatus", status}, {"CompletionPercentage", 40}}}}};
}

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

    // A job's ending is read from its status as Resolve reports it.
    resolveIs(renderingJob("Rendering"));
    pollOnce(monitor);
    ASSERT_TRUE(monitor.rendering());
    resolveIs(renderingJob("Cancelled"));
    pollOnce(monitor);
    EXPECT_TRUE(monitor.justFinished());
    EXPECT_EQ(monitor.outcome(), DaVinciMonitor::Outcome::cancelled);

    // Resolve gone (or its scripting off), its module failing: not reachable,
    // with why where that is known, and no finish.
    using Unreachable = DaVinciMonitor::Unreachable;
    for (const auto& [state, why] : {std::pair{QJsonObject{{"running", false}}, Unreachable::notRunning},
             std::pair{QJsonObject{{"raise", "scripting is disabled"}}, Unreachable::unknown}}) {
        resolveIs(state);
        pollOnce(monitor);
        EXPECT_FALSE(monitor.available()) << QJsonDocument(state).toJson().toStdString();
        EXPECT_EQ(monitor.unreachable(), why) << QJsonDocument(state).toJson().toStdString();
    }
    EXPECT_EQ(finishes, 2);
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
        EXPECT_TRUE(waitUntil([&] { return !processAlive(pid.toLongLong()); }, 3s))
            << "run " << pid.toStdString() << " is still there";
}

// The script runs isolated from the app's working directory (a json.py there
// would run on every poll) and from the user's site packages, and writes
// nothing into Resolve's folder.
TEST_F(DaVinciScriptTest, ThePollerImportsNothingFromTheAppsFolder)
{
    const QString marker = dir.filePath("imported");
    QFile planted(dir.filePath("json.py"));
    ASSERT_TRUE(planted.open(QIODevice::WriteOnly));
    planted.write("open(" + QJsonDocument(QJsonArray{marker}).toJson(QJsonDocument::Compact).mid(1).chopped(1)
        + ", 'w').write('ran')\n");
    planted.close();
    const QString before = QDir::currentPath();
    QDir::setCurrent(dir.path());
    resolveIs(renderingJob("Rendering"));
    DaVinciMonitor monitor(QUILLON_PYTHON, QUILLON_RESOLVE_STANDIN);
    pollOnce(monitor);
    QDir::setCurrent(before);
    EXPECT_TRUE(monitor.available());
    EXPECT_FALSE(QFile::exists(marker)) << "the app's folder was on the script's path";
    EXPECT_FALSE(QDir(QUILLON_RESOLVE_STANDIN "/Modules/__pycache__").exists()) << "wrote into Resolve's folder";
}

// Whatever the interpreter starts goes with it, and stop() waits for none of
// it: the run is reaped later, by the event loop.
TEST_F(DaVinciScriptTest, ARunGoesWithEverythingItStartedAndStopDoesNotWait)
{
    const QString log = dir.filePath("log");
    const QByteArray quoted = "'" + log.toLocal8Bit() + "'";
    DaVinciMonitor monitor(interpreter("spawning",
        "echo \"$1\" >> " + quoted + "; pwd >> " + quoted + "; sleep 30 & echo $! >> " + quoted + "; echo $$ >> "
            + quoted + "; exec sleep 30"));
    monitor.poll();
    QList<QByteArray> lines;
    ASSERT_TRUE(waitUntil([&] {
        QFile file(log);
        lines = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n') : QList<QByteArray>{};
        return lines.size() == 4;
    }));
    EXPECT_EQ(lines[0], "-I") << "isolated from the user's site packages and PYTHON* variables";
    EXPECT_EQ(lines[1], "/") << "run from the root, not the app's folder";
    const QByteArray grandchild = lines[2];
    const QByteArray run = lines[3];
    monitor.stop();
    EXPECT_TRUE(QFile::exists("/proc/" + run)) << "stop() reaped the run: it waited for it";
    EXPECT_TRUE(
        waitUntil([&] { return !processAlive(run.toLongLong()) && !processAlive(grandchild.toLongLong()); }, 3s));
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists("/proc/" + run); }, 3s)) << "never reaped";
}

// Why Resolve cannot be followed before the script runs, where that is known;
// and the user's own RESOLVE_SCRIPT_API is where its scripting is looked for.
TEST_F(DaVinciScriptTest, WhyResolveCannotBeReachedIsKnown)
{
    using Unreachable = DaVinciMonitor::Unreachable;
    DaVinciMonitor noPython(dir.filePath("no-python3"), QUILLON_RESOLVE_STANDIN);
    noPython.poll();
    EXPECT_EQ(noPython.unreachable(), Unreachable::noInterpreter);

    QDir(dir.path()).mkdir("empty");
    DaVinciMonitor notInstalled(QUILLON_PYTHON, dir.filePath("empty"));
    pollOnce(notInstalled);
    EXPECT_EQ(notInstalled.unreachable(), Unreachable::notInstalled);

    qputenv("RESOLVE_SCRIPT_API", QUILLON_RESOLVE_STANDIN);
    const QByteArray ours = qgetenv("QUILLON_RESOLVE_SCRIPT_API");
    qunsetenv("QUILLON_RESOLVE_SCRIPT_API");
    DaVinciMonitor usersOwn(QUILLON_PYTHON);
    qunsetenv("RESOLVE_SCRIPT_API");
    if (!ours.isNull())
        qputenv("QUILLON_RESOLVE_SCRIPT_API", ours);
    EXPECT_EQ(usersOwn.scriptingFolder(), QUILLON_RESOLVE_STANDIN);
    resolveIs(renderingJob("Rendering"));
    pollOnce(usersOwn);
    EXPECT_TRUE(usersOwn.available());
    EXPECT_EQ(usersOwn.unreachable(), Unreachable::none);
}

} // namespace
