// Figures of the tray app, measured, never asserted, on a virtual display
// with a system tray (Xvfb, trayer) and the real fan helper on a private bus
// with the shared simulated Mac:
//   1. start-up: from starting `quillon` to its icon in the tray (median of
//      several launches), and the same for `quillon --demo`, which first
//      starts its own simulated Mac and helper;
//   2. resident memory of the app (panel never opened; with the panel, the
//      settings window and the welcome window open; a minute after each
//      closed, when its QML is released) and of the helper; the time from a
//      click on the icon to the panel on the screen (first, once released,
//      while kept);
//   3. CPU time of the app and the helper over a minute idle, panel closed
//      (never opened, and again after it was shown once), and the app's
//      requests to the helper per second;
//   4. the app's CPU time idle with automation on and one application
//      listed (the rules are evaluated every 5 seconds) against the rest
//      between, in turn, and what switching it on costs once; then a minute
//      with the full-screen rule (its window watch on the display, one
//      application excluded) and the media rule (its player watch on the
//      session bus) on as well; measured right after the rest above, before
//      Render Mode, whose overlay is released a while after it ends;
//   5. with Render Mode on (overlay up, DaVinci Resolve polled every 3 s, no
//      Resolve installed): the app's CPU time, that of the Python runs it
//      waits for, and the memory the overlay adds.
//
// Usage: quillon-bench-app [--quick]   (--quick: fewer launches, 15 s of idle)

#include "DaemonHarness.h"
#include "DemoAppRig.h"
#include "XDisplay.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using quillon::test::LineProcess;
using quillon::test::XDisplay;

constexpr int kIconMaxSide = 64;

bool iconShown(const XDisplay& display)
{
    const auto windows = display.visibleWindows("quillon");
    return std::any_of(
        windows.begin(), windows.end(), [](const XDisplay::Window& w) { return w.frame.width() <= kIconMaxSide; });
}

void clickIcon(const XDisplay& display)
{
    for (const XDisplay::Window& w : display.visibleWindows("quillon")) {
        if (w.frame.width() <= kIconMaxSide)
            display.click(w);
    }
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

// Resident memory in MiB, from /proc/PID/status: all of it ("VmRSS"), or
// the heap and other private memory ("RssAnon") or pages of mapped files,
// mostly libraries ("RssFile").
double residentMiB(qint64 pid, const QByteArray& field = "VmRSS")
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0;
}

// "58.1 MiB (41.0 private, 17.1 files)"
QString residentParts(qint64 pid)
{
    return QString("%1 MiB (%2 private, %3 files)")
        .arg(residentMiB(pid), 0, 'f', 1)
        .arg(residentMiB(pid, "RssAnon"), 0, 'f', 1)
        .arg(residentMiB(pid, "RssFile"), 0, 'f', 1);
}

// CPU time so far of each thread, in seconds, by thread id: the scheduler's
// nanosecond counts, else (no schedstat) user plus system time in ticks of
// the whole process (under id 0).
QHash<QString, double> threadCpu(qint64 pid)
{
    QHash<QString, double> seconds;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile schedstat(tasks + "/" + task + "/schedstat");
        if (schedstat.open(QIODevice::ReadOnly))
            seconds.insert(task, schedstat.readAll().split(' ').first().toDouble() / 1e9);
    }
    if (!seconds.isEmpty())
        return seconds;
    const QStringList fields = quillon::test::processStat(pid);
    if (fields.size() >= 13) {
        seconds.insert("0",
            (fields[11].toDouble() + fields[12].toDouble()) / static_cast<double>(::sysconf(_SC_CLK_TCK)));
    }
    return seconds;
}

// The CPU time a process uses from now on. Sampled twice a second, so a
// thread that ends meanwhile (a thread pool's idle worker) keeps what it used.
class CpuMeter {
public:
    explicit CpuMeter(qint64 pid)
        : m_pid(pid)
        , m_start(threadCpu(pid))
    {
    }
    void sample()
    {
        const QHash<QString, double> now = threadCpu(m_pid);
        for (auto it = now.begin(); it != now.end(); ++it)
            m_last.insert(it.key(), it.value());
    }
    double seconds() const
    {
        double total = 0;
        for (auto it = m_last.begin(); it != m_last.end(); ++it)
            total += it.value() - m_start.value(it.key(), 0.0);
        return total;
    }

private:
    qint64 m_pid;
    QHash<QString, double> m_start;
    QHash<QString, double> m_last;
};

// One tray app with a session bus and a home of its own, whose user has
// completed this version's intro (so the welcome window stays shut).
class App {
public:
    App(const XDisplay& display, const QStringList& helperEnvironment, const QString& home)
        : m_display(display)
        , m_env(QStringList{"DISPLAY=" + display.name(), "QT_QPA_PLATFORM=xcb",
                    "DBUS_SESSION_BUS_ADDRESS=" + m_bus.address(), "HOME=" + home,
                    "XDG_CONFIG_HOME=" + home + "/config", "XDG_RUNTIME_DIR=" + home}
              + helperEnvironment)
    {
        QSettings(home + "/config/quillon/Quillon.ini", QSettings::IniFormat)
            .setValue("onboardingSeenVersion", QUILLON_VERSION);
    }
    ~App()
    {
        process.signal(SIGTERM);
        process.waitForExit(10s);
        // The tray forgets the icon a moment after its window goes.
        quillon::test::waitUntil([&] { return !iconShown(m_display); }, 5s);
    }

    // Milliseconds from the start of the process to its icon in the tray; -1 if it never shows.
    double startUntilIcon(const QStringList& args)
    {
        QElapsedTimer clock;
        clock.start();
        process.start(QUILLON_APP_BIN, args, m_env);
        if (!quillon::test::waitUntil([&] { return iconShown(m_display); }, 30s))
            return -1;
        return static_cast<double>(clock.nsecsElapsed()) / 1e6;
    }

    // `quillon ctl args...` against this app.
    quillon::test::ChildProcess::Result ctl(const QStringList& args) const
    {
        return quillon::test::ChildProcess::run(QUILLON_APP_BIN, QStringList{"ctl"} + args, m_env);
    }

    LineProcess process;

private:
    const XDisplay& m_display;
    quillon::test::PrivateBus m_bus;
    QStringList m_env;
};

// What the processes use over a window of time.
struct Usage {
    double seconds = 0;
    double appCpu = 0;    // s
    double helperCpu = 0; // s
};

Usage measure(qint64 app, qint64 helper, std::chrono::milliseconds window)
{
    CpuMeter appCpu(app);
    CpuMeter helperCpu(helper);
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < window.count()) {
        QTest::qWait(static_cast<int>(std::min<qint64>(500, window.count() - clock.elapsed())));
        appCpu.sample();
        helperCpu.sample();
    }
    return {static_cast<double>(clock.elapsed()) / 1000.0, appCpu.seconds(), helperCpu.seconds()};
}

// The app's windows that are no tray icon.
QList<XDisplay::Window> appWindows(const XDisplay& display)
{
    QList<XDisplay::Window> windows = display.visibleWindows("quillon");
    windows.removeIf([](const XDisplay::Window& w) { return w.frame.width() <= kIconMaxSide; });
    return windows;
}

// Clicks the icon; milliseconds until a window of the app other than the
// icon is on the screen (-1: none within 10 s).
double openPanel(const XDisplay& display)
{
    QElapsedTimer clock;
    clock.start();
    clickIcon(display);
    if (!quillon::test::waitUntil([&] { return !appWindows(display).isEmpty(); }, 10s))
        return -1;
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

// Waits until `since` is a minute and a few seconds old: a closed window's QML is released by then.
void waitPastRelease(const QElapsedTimer& since)
{
    constexpr qint64 kReleasedAfterMs = 65000;
    if (since.elapsed() < kReleasedAfterMs)
        QTest::qWait(static_cast<int>(kReleasedAfterMs - since.elapsed()));
}

void row(const char* what, double value, const char* unit, int decimals = 1)
{
    std::printf("  %-58s %8.*f %s\n", what, decimals, value, unit);
}

} // namespace

int main(int argc, char** argv)
{
    const bool quick = argc > 1 && std::string_view(argv[1]) == "--quick";
    const int launches = quick ? 3 : 7;
    const auto idle = quick ? 15s : 60s;
    quillon::test::ensureCoreApplication();

    XDisplay display;
    quillon::test::HelperRig helper;
    if (!display.ready() || !helper.startHelper()) {
        std::fprintf(stderr, "cannot start Xvfb, trayer or the helper\n");
        return 1;
    }
    QTemporaryDir home;
    const QStringList helperEnv = helper.environment();
    // An installed application for the automation figures, there before the
    // app starts (it watches the applications folders that exist then).
    QDir().mkpath(home.path() + "/.local/share/applications");
    QFile entry(home.path() + "/.local/share/applications/org.quillon.BenchEditor.desktop");
    if (entry.open(QIODevice::WriteOnly))
        entry.write("[Desktop Entry]\nType=Application\nName=Bench Editor\nExec=/opt/bench/editor %F\n");
    entry.close();

    std::printf("Quillon tray app, %s\n\n", quick ? "quick run" : "full run");

    // The first launch records the build, so later ones do not open the panel.
    std::vector<double> startups;
    for (int i = 0; i <= launches; ++i) {
        App app(display, helperEnv, home.path());
        const double ms = app.startUntilIcon({});
        if (i > 0 && ms >= 0)
            startups.push_back(ms);
    }
    std::vector<double> demoStartups;
    for (int i = 0; i < std::max(3, launches / 2); ++i) {
        QTemporaryDir demoHome;
        App demo(display, {"QUILLON_HELPER_BUS", "QUILLON_SMC"}, demoHome.path());
        demoStartups.push_back(demo.startUntilIcon({"--demo"}));
    }
    std::printf("Start-up to the icon in the tray (median of %d):\n", launches);
    row("quillon, helper already running", median(startups), "ms");
    row("quillon --demo, starting its simulated Mac and helper", median(demoStartups), "ms");

    App app(display, helperEnv, home.path());
    if (app.startUntilIcon({}) < 0) {
        std::fprintf(stderr, "the app did not show its icon\n");
        return 1;
    }
    const qint64 appPid = app.process.pid();
    const qint64 helperPid = helper.helper.pid();
    QTest::qWait(5000); // settle: first polls, first icon redraws

    LineProcess monitor;
    monitor.start("dbus-monitor",
        {"--address", helper.bus.address(), "type='method_call',interface='org.quillon.Quillon.smchelper'"}, {});
    QTest::qWait(500);
    const qsizetype callsBefore = monitor.lines().filter("member=").size();
    const Usage closed = measure(appPid, helperPid, idle);
    const qsizetype calls = monitor.lines().filter("member=").size() - callsBefore;

    std::printf("\nResident memory:\n");
    std::printf("  %-58s %s\n", "app, panel never opened", qPrintable(residentParts(appPid)));
    row("helper (quillon-helper --daemon)", residentMiB(helperPid), "MiB");
    std::printf("\nIdle with the panel closed (never opened), over %.0f s:\n", closed.seconds);
    row("app CPU time per minute", closed.appCpu * 60.0 / closed.seconds * 1000.0, "ms");
    row("helper CPU time per minute", closed.helperCpu * 60.0 / closed.seconds * 1000.0, "ms");
    row("app CPU load", closed.appCpu / closed.seconds * 100.0, "% of one core", 3);
    row("requests from the app to the helper", static_cast<double>(calls) / closed.seconds, "per second");

    // Open the panel once (a click on the icon), then close it again.
    const double firstOpen = openPanel(display);
    QTest::qWait(3000);
    const double residentAfterPanel = residentMiB(appPid);
    clickIcon(display);
    QElapsedTimer shut;
    shut.start();
    QTest::qWait(1000);
    const double residentPanelJustClosed = residentMiB(appPid);
    const Usage after = measure(appPid, helperPid, std::min<std::chrono::milliseconds>(idle, 55s));
    waitPastRelease(shut);
    const QString residentPanelReleased = residentParts(appPid);
    // Opened again once released, and again while its window is kept.
    const double reopenReleased = openPanel(display);
    QTest::qWait(1000);
    clickIcon(display);
    QTest::qWait(1000);
    const double reopenKept = openPanel(display);
    QTest::qWait(1000);
    clickIcon(display);
    std::printf("\nAfter the panel was shown once and closed again:\n");
    row("app resident memory, panel open", residentAfterPanel, "MiB");
    row("app resident memory, panel closed a few seconds", residentPanelJustClosed, "MiB");
    std::printf("  %-58s %s\n", "app resident memory, panel closed a minute", qPrintable(residentPanelReleased));
    row("app CPU time per minute, panel closed", after.appCpu * 60.0 / after.seconds * 1000.0, "ms");
    row("panel shown, from the click: first time", firstOpen, "ms");
    row("the same, once released", reopenReleased, "ms");
    row("the same, window kept (closed a second before)", reopenKept, "ms");

    // The settings window, opened and closed (Ctrl+W).
    app.ctl({"settings"});
    QTest::qWait(3000);
    const double residentSettings = residentMiB(appPid);
    for (const XDisplay::Window& w : appWindows(display))
        display.key(w, "ctrl+w");
    shut.start();
    waitPastRelease(shut);
    const QString residentSettingsReleased = residentParts(appPid);
    row("app resident memory, settings window open", residentSettings, "MiB");
    std::printf(
        "  %-58s %s\n", "app resident memory, settings window closed a minute", qPrintable(residentSettingsReleased));
    // The welcome window, as a new user's first launch shows it, closed with Escape.
    {
        QTemporaryDir newUser;
        App first(display, helperEnv, newUser.path());
        QSettings(newUser.path() + "/config/quillon/Quillon.ini", QSettings::IniFormat).remove("onboardingSeenVersion");
        if (first.startUntilIcon({}) >= 0) {
            quillon::test::waitUntil([&] { return !appWindows(display).isEmpty(); }, 10s);
            QTest::qWait(2000);
            const double residentWelcome = residentMiB(first.process.pid());
            for (const XDisplay::Window& w : appWindows(display))
                display.key(w, "Escape");
            shut.start();
            waitPastRelease(shut);
            row("a new user's app, welcome window open", residentWelcome, "MiB");
            std::printf("  %-58s %s\n", "a new user's app, welcome window closed a minute",
                qPrintable(residentParts(first.process.pid())));
        }
    }
    const Usage rest = measure(appPid, helperPid, idle);
    row("app CPU time per minute, at rest again", rest.appCpu * 60.0 / rest.seconds * 1000.0, "ms");

    // Automation on, with an installed application listed that does not run.
    // Switching it on reads every process and the desktop entries once: that
    // is measured on its own, over the first seconds, and the idle windows
    // start after it. Automation and rest are then measured in turn, two
    // windows each, so a drift in the machine's speed weighs on both alike.
    const auto perMinute = [](const Usage& usage) { return usage.appCpu * 60.0 / usage.seconds * 1000.0; };
    const auto settled = [&] { return measure(appPid, helperPid, 10s); };
    if (app.ctl({"auto", "add", "org.quillon.BenchEditor", "--cooling", "max"}).exitCode != 0) {
        std::fprintf(stderr, "the application could not be listed\n");
        return 1;
    }
    Usage automation;
    Usage between;
    double switching = 0;
    for (int turn = 0; turn < 2; ++turn) {
        if (app.ctl({"auto", "on"}).exitCode != 0) {
            std::fprintf(stderr, "automation could not be switched on\n");
            return 1;
        }
        switching += settled().appCpu;
        const Usage on = measure(appPid, helperPid, idle / 2);
        if (app.ctl({"auto", "off"}).exitCode != 0) {
            std::fprintf(stderr, "automation could not be switched off\n");
            return 1;
        }
        settled();
        const Usage off = measure(appPid, helperPid, idle / 2);
        automation.seconds += on.seconds;
        automation.appCpu += on.appCpu;
        between.seconds += off.seconds;
        between.appCpu += off.appCpu;
    }
    const int processes = static_cast<int>(QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs).size());
    std::printf("\nAutomation on with one listed application, not running, panel closed, %d processes,\n"
                "against rest, in turn (two windows each):\n",
        processes);
    row("app CPU time, switching automation on (first 10 s, each time)", switching * 1000.0 / 2, "ms");
    row("app CPU time per minute, automation on", perMinute(automation), "ms");
    row("app CPU time per minute, at rest in the windows between", perMinute(between), "ms");
    row("automation against rest", perMinute(automation) / perMinute(between), "x", 2);

    if (app.ctl({"auto", "on"}).exitCode != 0 || app.ctl({"auto", "fullscreen", "on"}).exitCode != 0
        || app.ctl({"auto", "media", "on"}).exitCode != 0
        || app.ctl({"auto", "exclude", "add", "org.quillon.BenchEditor"}).exitCode != 0) {
        std::fprintf(stderr, "the full-screen and media rules could not be switched on\n");
        return 1;
    }
    settled();
    const Usage allRules = measure(appPid, helperPid, idle);
    std::printf("\nAutomation on with the app, full-screen (one app excluded) and media rules, panel closed:\n");
    row("app CPU time per minute", perMinute(allRules), "ms");
    if (app.ctl({"auto", "off"}).exitCode != 0) {
        std::fprintf(stderr, "automation could not be switched off\n");
        return 1;
    }

    // Render Mode: the overlay on the screen, the queue polled every 3 s.
    const auto childrenCpu = [&] {
        const QStringList fields = quillon::test::processStat(appPid);
        return fields.size() < 15
            ? 0.0
            : (fields[13].toDouble() + fields[14].toDouble()) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    };
    const double residentBeforeOverlay = residentMiB(appPid);
    if (app.ctl({"render", "on"}).exitCode != 0) {
        std::fprintf(stderr, "ctl render on failed\n");
        return 1;
    }
    QTest::qWait(3000);
    const double residentWithOverlay = residentMiB(appPid);
    const double pythonBefore = childrenCpu();
    const Usage rendering = measure(appPid, helperPid, idle);
    const double python = childrenCpu() - pythonBefore;
    app.ctl({"render", "off"});
    std::printf("\nRender Mode on (overlay up, DaVinci Resolve polled every 3 s), over %.0f s:\n", rendering.seconds);
    row("app CPU time per minute", rendering.appCpu * 60.0 / rendering.seconds * 1000.0, "ms");
    row("CPU time per minute of the Python runs it waits for", python * 60.0 / rendering.seconds * 1000.0, "ms");
    row("resident memory the overlay adds", residentWithOverlay - residentBeforeOverlay, "MiB");
    return 0;
}
