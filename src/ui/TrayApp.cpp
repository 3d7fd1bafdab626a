#include "TrayApp.h"

#include "AppDelegate.h"
#include "Relaunch.h"
#include "app/Settings.h"
#include "platform/linux/MacHardware.h"
#include "platform/linux/OpenFileLimit.h"
#include "ui/ctl/CtlCommand.h"
#include "ui/demo/DemoMode.h"
#include "ui/demo/SimulatedLoad.h"
#include "ui/scripting/ScriptingService.h"

#include "daemon/TerminationSignals.h"
#include "smc/SharedSimClient.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QIcon>
#include <QQuickStyle>
#include <QQuickWindow>
#include <csignal>
#include <cstdio>
#include <optional>

namespace quillon::ui {

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

void usage(const char* program)
{
    std::fprintf(stderr,
        "Usage: %s [--demo]        the tray app (--demo: on a simulated Mac with a helper of its own)\n"
        "       %s ctl COMMAND     script the running app (%s ctl help lists the commands)\n"
        "       %s --help          every other role\n",
        program, program, program, program);
}

// Whether the arguments are --demo and Qt's own options at most, checked
// before Qt needs a display. Qt's options have one dash ("-platform
// offscreen", "-reverse"); a word after one is its value.
bool onlyKnownArguments(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QLatin1String arg(argv[i]);
        if (arg == QLatin1String("--demo"))
            continue;
        if (!arg.startsWith('-') || arg.startsWith(QLatin1String("--")))
            return false;
        if (i + 1 < argc && !QLatin1String(argv[i + 1]).startsWith('-'))
            ++i;
    }
    return true;
}

// Whether Qt will find a display: a session's, or a platform named for it.
bool graphicalSession(int argc, char** argv)
{
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            return true;
    }
    for (int i = 1; i < argc; ++i) {
        if (QLatin1String(argv[i]) == QLatin1String("-platform"))
            return true;
    }
    return false;
}

// Another instance already runs: show its panel instead of a second icon.
// What became of asking a running instance to show its panel.
enum class HandOver {
    none,       // no other instance: this one starts
    shown,      // the other instance shows its panel: this one ends
    unanswered, // another instance holds the name but did not answer in time
};

// Asks before the event loop runs, so each call is bounded: a healthy
// instance answers in milliseconds; a hung one must not keep the user's
// click from showing anything for D-Bus's default 25 s.
HandOver handOverToRunningInstance()
{
    constexpr int kTimeoutMs = 2000;
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString service = QString::fromLatin1(ScriptingService::kService);
    if (!bus.isConnected())
        return HandOver::none;
    const QDBusMessage owned = bus.call(
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"))
            << service,
        QDBus::Block, kTimeoutMs);
    // A bus that cannot say leaves this instance to start; taking the name then tells.
    if (owned.type() != QDBusMessage::ReplyMessage || !owned.arguments().value(0).toBool())
        return HandOver::none;
    const QDBusMessage show = QDBusMessage::createMethodCall(
        service, QString::fromLatin1(ScriptingService::kObjectPath), service, QStringLiteral("ShowPanel"));
    const QDBusMessage shown = bus.call(show, QDBus::Block, kTimeoutMs);
    if (shown.type() == QDBusMessage::ReplyMessage)
        return HandOver::shown;
    // It quit in between: the name is free for this one.
    if (shown.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")
        || shown.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return HandOver::none;
    return HandOver::unanswered;
}

// Starts the demo's processes and points the app at them; false, with the
// reason printed, when they cannot start.
bool enterDemo(DemoMode& demo, AppDelegate::Options& options, std::unique_ptr<SimulatedLoad>& load, const char* program)
{
    QString error;
    if (!demo.start(error)) {
        std::fprintf(stderr, "%s: the demo cannot start: %s\n", program, qPrintable(error));
        return false;
    }
    // The app's models find the demo's helper and Mac through the environment, like any client.
    qputenv("QUILLON_SMC", demo.smcSetting().toLocal8Bit());
    qputenv("QUILLON_HELPER_BUS", demo.busAddress().toLocal8Bit());
    // The demo leaves the user's settings and autostart entry alone, and
    // shows the simulated Mac's temperature beside the icon.
    options.settingsFile = demo.directory() + QStringLiteral("/Quillon.conf");
    app::Settings settings(options.settingsFile);
    settings.setFlag(app::Settings::Key::showTempInMenuBar, true);
    // It speaks the user's language, skips an intro the user has already
    // completed for this version, and takes the shortcuts only if the user
    // lets the app take them.
    const app::Settings user;
    settings.setAppLanguage(user.appLanguage());
    if (const auto seen = user.text(app::Settings::Key::onboardingSeenVersion))
        settings.setText(app::Settings::Key::onboardingSeenVersion, *seen);
    settings.setFlag(app::Settings::Key::hotkeysEnabled, user.flag(app::Settings::Key::hotkeysEnabled));
    options.loginItem = LoginItem(demo.directory(), {}, QApplication::applicationFilePath());
    load = std::make_unique<SimulatedLoad>(std::make_unique<smc::SharedSimClient>(demo.socketPath().toStdString()));
    options.load = load.get();
    std::printf("Quillon demo: a simulated Mac and its fan helper are running (%s).\n"
                "Script it with: %s ctl status\n",
        qPrintable(demo.directory()), program);
    std::fflush(stdout);
    return true;
}

} // namespace

int TrayApp::run(int argc, char** argv)
{
    if (argc >= 2 && QLatin1String(argv[1]) == QLatin1String("ctl")) {
        QStringList args;
        for (int i = 2; i < argc; ++i)
            args.append(QString::fromLocal8Bit(argv[i]));
        return CtlCommand::run(argc, argv, args);
    }

    if (!onlyKnownArguments(argc, argv)) {
        usage(argv[0]);
        return kExitUsage;
    }

    if (!graphicalSession(argc, argv)) {
        std::fprintf(stderr,
            "%s: the tray app needs a graphical session (neither DISPLAY nor WAYLAND_DISPLAY is set).\n"
            "bash scripts/demo.sh shows it on a virtual display.\n",
            argv[0]);
        return kExitFailed;
    }

    // A reader of our output that has gone (a pipe closed behind a restarted
    // app, a demo's terminal) must not end a long-running app: such writes
    // merely fail.
    std::signal(SIGPIPE, SIG_IGN);
    platform::linux_::OpenFileLimit::raise();

    // Qt takes its own options out of argv here.
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillon"));
    QApplication::setOrganizationName(QStringLiteral("quillon"));
    QApplication::setDesktopFileName(QStringLiteral("org.quillon.Quillon"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/org.quillon.Quillon.svg")));
    QApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    // A small 2D panel needs no GPU: software rendering spares the app a GL
    // context and the graphics driver's memory (QT_QUICK_BACKEND overrides).
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);

    const QStringList args = QApplication::arguments().mid(1);
    const bool demo = args == QStringList{QStringLiteral("--demo")};
    if (!args.isEmpty() && !demo) {
        usage(argv[0]);
        return kExitUsage;
    }

    Relaunch::waitForPredecessor();
    // A second instance beside a hung one would fight it over the fans and
    // the lid, and could not take its bus name: it ends with the reason.
    switch (handOverToRunningInstance()) {
    case HandOver::none:
        break;
    case HandOver::shown:
        if (demo) {
            std::fprintf(stderr, "%s: Quillon is already running; quit it before starting the demo.\n", argv[0]);
            return kExitFailed;
        }
        return 0;
    case HandOver::unanswered:
        std::fprintf(stderr,
            "%s: Quillon is already running but does not answer; end that process (or log out) and start it "
            "again.\n",
            argv[0]);
        return kExitFailed;
    }

    AppDelegate::Options options;
    options.build = QStringLiteral(QUILLON_BUILD);
    // The demo's simulated Mac is a Mac.
    options.onMac = demo || platform::linux_::MacHardware::detect();
    options.version = QStringLiteral(QUILLON_VERSION);
    std::optional<DemoMode> demoMode;
    std::unique_ptr<SimulatedLoad> load;
    if (demo) {
        demoMode.emplace(QApplication::applicationDirPath() + QStringLiteral("/quillon-helper"));
        if (!enterDemo(*demoMode, options, load, argv[0]))
            return kExitFailed;
    }

    daemon::TerminationSignals termination;
    QObject::connect(&termination, &daemon::TerminationSignals::received, &application, &QApplication::quit);

    int status = 0;
    {
        AppDelegate delegate(std::move(options));
        delegate.applicationDidFinishLaunching();
        QString error;
        if (!delegate.startScripting(error))
            std::fprintf(stderr, "%s: quillon ctl is unavailable: %s\n", argv[0], qPrintable(error));
        status = QApplication::exec();
    }
    if (demoMode)
        demoMode->stop();
    return status;
}

} // namespace quillon::ui
