#include "platform/linux/PkexecRunner.h"

#include "support/EventLoop.h"
#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <optional>

using quillon::platform::PrivilegedRunner;
using quillon::platform::linux_::PkexecRunner;
using namespace quillon::test;
using Kind = PrivilegedRunner::Result::Kind;

namespace {

// pkexec stand-ins: each behaves as pkexec does in one situation.
class Pkexec : public ::testing::Test {
protected:
    QString standIn(const QString& name, const QByteArray& body)
    {
        const QString path = dir.path() + "/" + name;
        EXPECT_TRUE(writeFile(path, "#!/bin/sh\n" + body));
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    static QString script(const QByteArray& body) { return QString::fromUtf8(body); }
    PrivilegedRunner::Result run(const QString& pkexec, const QString& text)
    {
        PkexecRunner runner(pkexec);
        std::optional<PrivilegedRunner::Result> result;
        runner.run(text, [&](const PrivilegedRunner::Result& r) { result = r; });
        EXPECT_TRUE(waitUntil([&] { return result.has_value(); }, std::chrono::seconds(10)));
        return result.value_or(PrivilegedRunner::Result{});
    }

    QTemporaryDir dir;
    // pkexec's own terminal prompt must be off: the app has no terminal to answer it on.
    QString granted
        = standIn("pkexec-granted", "[ \"$1\" = --disable-internal-agent ] || exit 99\nshift\nexec \"$@\"\n");
};

// A dismissed dialog is the only cancel (the script's own 126 is a failure
// of the script); every failure carries its own words.
TEST_F(Pkexec, OnlyADismissedDialogIsACancelAndFailuresCarryTheirWords)
{
    const QString ok = script("exit 0\n");
    EXPECT_EQ(run(standIn("pkexec-dismissed", "exit 126\n"), ok).kind, Kind::dismissed);
    const auto own = run(granted, script("echo 'sh: 1: /x: Permission denied' >&2\nexit 126\n"));
    EXPECT_EQ(own.kind, Kind::failed);
    EXPECT_EQ(own.message, "sh: 1: /x: Permission denied");

    const auto noAgent = run(standIn("pkexec-no-agent",
                                 "echo 'Error executing command as another user: No authentication agent found.' >&2\n"
                                 "exit 127\n"),
        ok);
    EXPECT_EQ(noAgent.kind, Kind::failed);
    EXPECT_EQ(noAgent.message, PkexecRunner::noAgentText());
    EXPECT_TRUE(noAgent.message.startsWith("No password dialog is available")) << noAgent.message.toStdString();

    const auto silent = run(granted, script("exit 3\n"));
    EXPECT_EQ(silent.kind, Kind::failed);
    EXPECT_TRUE(silent.message.contains("exit code 3")) << silent.message.toStdString();

    const auto absent = run(dir.path() + "/no-pkexec-here", ok);
    EXPECT_EQ(absent.kind, Kind::failed);
    EXPECT_TRUE(absent.message.contains("could not be started")) << absent.message.toStdString();
}

TEST_F(Pkexec, GrantedScriptRunsOnceWithItsTextIntact)
{
    const QString marker = dir.path() + "/ran";
    const QByteArray text = "printf '%s\\n' 'it'\"'\"'s \"$HOME\" `x` \\' >> '" + marker.toUtf8() + "'\n";
    EXPECT_EQ(run(granted, script(text)).kind, Kind::success);
    EXPECT_EQ(readFile(marker), "it's \"$HOME\" `x` \\\n");
}

} // namespace
