#include "CtlCommand.h"

#include "CtlRequest.h"
#include "QuillonProxy.h"
#include "ui/scripting/EchoedInput.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

namespace quillon::ui {

namespace {

constexpr const char* kService = "org.quillon.Quillon";
constexpr const char* kObjectPath = "/org/quillon/Quillon";
constexpr int kCallTimeoutMs = 10000;
// An install or removal answers once the user has dealt with the password dialog.
constexpr int kPasswordTimeoutMs = 15 * 60 * 1000;

void print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    if (!text.endsWith(QLatin1Char('\n')))
        std::fputc('\n', stream);
}

// A (b ok, s text) answer: the text on standard output or error, and the exit status.
int report(QDBusPendingReply<bool, QString> reply)
{
    reply.waitForFinished();
    if (reply.isError()) {
        print(stderr, QStringLiteral("quillon ctl: %1").arg(reply.error().message()));
        return CtlCommand::refused;
    }
    const bool ok = reply.argumentAt<0>();
    print(ok ? stdout : stderr, ok ? reply.argumentAt<1>() : QStringLiteral("quillon ctl: ") + reply.argumentAt<1>());
    return ok ? CtlCommand::ok : CtlCommand::refused;
}

int status(QuillonProxy& app)
{
    QDBusPendingReply<QString> reply = app.Status();
    reply.waitForFinished();
    if (reply.isError()) {
        print(stderr, QStringLiteral("quillon ctl: %1").arg(reply.error().message()));
        return CtlCommand::refused;
    }
    print(stdout, QString::fromUtf8(QJsonDocument::fromJson(reply.value().toUtf8()).toJson(QJsonDocument::Indented)));
    return CtlCommand::ok;
}

// The app's "updates" status, or an empty object when it does not answer.
QJsonObject updateStatus(QuillonProxy& app)
{
    QDBusPendingReply<QString> reply = app.Status();
    reply.waitForFinished();
    return reply.isError() ? QJsonObject()
                           : QJsonDocument::fromJson(reply.value().toUtf8()).object().value("updates").toObject();
}

// Starts one update check in the app and waits (a little longer than the
// check's own 10 s limit) for it to end, then says what the feed offers.
int checkUpdates(QuillonProxy& app)
{
    const int before = updateStatus(app).value("checks").toInt();
    QDBusPendingReply<bool, QString> started = app.CheckForUpdates();
    started.waitForFinished();
    if (started.isError() || !started.argumentAt<0>()) {
        print(stderr,
            QStringLiteral("quillon ctl: %1")
                .arg(started.isError() ? started.error().message() : started.argumentAt<1>()));
        return CtlCommand::refused;
    }
    QDeadlineTimer deadline(12000);
    QJsonObject updates = updateStatus(app);
    while (updates.value("checks").toInt() <= before && !deadline.hasExpired()) {
        QThread::msleep(200);
        updates = updateStatus(app);
    }
    if (updates.value("checks").toInt() <= before) {
        print(stderr, QStringLiteral("quillon ctl: the update feed did not answer in time"));
        return CtlCommand::refused;
    }
    const QString version = updates.value("latestVersion").toString();
    if (!updates.value("answered").toBool()) {
        print(stderr, QStringLiteral("quillon ctl: the update feed could not be read"));
        return CtlCommand::refused;
    }
    if (version.isEmpty())
        print(stdout, QStringLiteral("Quillon is up to date"));
    else
        print(stdout, QStringLiteral("Quillon %1 is available: %2").arg(version, updates.value("url").toString()));
    return CtlCommand::ok;
}

// Runs the command, has the app keep awake while it runs, and passes on its
// exit status (128 + the signal that ended it, as shells report it).
int runAwake(QuillonProxy& app, const QStringList& command)
{
    std::vector<QByteArray> words;
    for (const QString& word : command)
        words.push_back(word.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    const int failed = ::posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ);
    if (failed != 0) {
        print(stderr,
            QStringLiteral("quillon ctl: cannot run %1: %2")
                .arg(EchoedInput::of(command[0]), QString::fromLocal8Bit(std::strerror(failed))));
        return 127;
    }
    // Like a shell waiting for a job: Ctrl-C is the command's to answer.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    QDBusPendingReply<bool, QString> reply = app.AwakeWhile(child);
    reply.waitForFinished();
    if (reply.isError() || !reply.argumentAt<0>()) {
        const QString why = reply.isError() ? reply.error().message() : reply.argumentAt<1>();
        print(stderr,
            QStringLiteral("quillon ctl: running %1 without keep-awake: %2").arg(EchoedInput::of(command[0]), why));
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return CtlCommand::refused;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

int CtlCommand::run(int argc, char** argv, const QStringList& args)
{
    QCoreApplication application(argc, argv);
    const auto parsed = CtlRequest::parse(args, QDateTime::currentDateTime());
    if (const auto* error = std::get_if<CtlRequest::Error>(&parsed)) {
        print(stderr, QStringLiteral("quillon ctl: %1\n").arg(error->message) + CtlRequest::usage());
        return badUsage;
    }
    const CtlRequest& request = std::get<CtlRequest>(parsed);
    if (request.verb == CtlRequest::Verb::help) {
        print(stdout, CtlRequest::usage());
        return ok;
    }

    QDBusConnection bus = QDBusConnection::sessionBus();
    QuillonProxy app(QString::fromLatin1(kService), QString::fromLatin1(kObjectPath), bus);
    app.setTimeout(kCallTimeoutMs);
    // A command is run all the same: its work matters more than keeping awake for it.
    if ((!bus.isConnected() || !app.isValid()) && request.verb != CtlRequest::Verb::awakeRun) {
        print(stderr,
            QStringLiteral("quillon ctl: Quillon is not running (nothing serves %1 on the session bus)")
                .arg(QLatin1String(kService)));
        return refused;
    }

    using Verb = CtlRequest::Verb;
    switch (request.verb) {
    case Verb::status:
        return status(app);
    case Verb::awake:
        return report(app.StayAwake(
            request.kinds, request.until.isValid() ? request.until.toUTC().toString(Qt::ISODate) : QString()));
    case Verb::awakeOff:
        return report(app.StopAwake());
    case Verb::fansOff:
        return report(app.FansOff());
    case Verb::fansAuto:
        return report(app.FansAuto(request.profile));
    case Verb::fansManual:
        return report(app.FansManual(request.percent, request.boostSeconds));
    case Verb::lid:
        return report(app.SetLid(request.on));
    case Verb::updateCheck:
        return checkUpdates(app);
    case Verb::render:
        return report(app.SetRenderMode(request.on));
    case Verb::reset:
        return report(app.Reset());
    case Verb::awakeWhile:
        return report(app.AwakeWhile(request.pid));
    case Verb::awakeRun:
        return runAwake(app, request.command);
    case Verb::automation:
        return report(app.SetAutomation(request.automationOn));
    case Verb::autoAdd:
        return report(app.AddAutomationApp(request.appId, request.cooling));
    case Verb::autoRemove:
        return report(app.RemoveAutomationApp(request.appId));
    case Verb::helperInstall:
    case Verb::helperUpdate:
        app.setTimeout(kPasswordTimeoutMs);
        return report(app.InstallHelper(request.verb == Verb::helperUpdate));
    case Verb::uninstall:
        app.setTimeout(kPasswordTimeoutMs);
        return report(app.Uninstall());
    case Verb::autoRule:
        return report(app.SetAutomationRule(request.rule, request.automationOn));
    case Verb::autoExclude:
    case Verb::autoInclude:
        return report(app.SetExcludedApp(request.appId, request.verb == Verb::autoExclude));
    case Verb::pause:
        return report(app.Pause(request.until.isValid() ? request.until.toUTC().toString(Qt::ISODate) : QString()));
    case Verb::resume:
        return report(app.Resume());
    case Verb::settings: {
        QDBusPendingReply<> shown = app.ShowSettings();
        shown.waitForFinished();
        return shown.isError() ? refused : ok;
    }
    case Verb::help:
        break;
    }
    return ok;
}

} // namespace quillon::ui
