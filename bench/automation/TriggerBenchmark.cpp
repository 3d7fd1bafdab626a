// What one evaluation of the automation rules costs, measured, never
// asserted: the real TriggerManager over the real Linux probes, on a
// generated /proc of 100, 300 and 3,000 processes and 200 desktop entries
// (five listed apps, none running, so every process is looked at; before
// each evaluation one process ends and a new one starts), and on
// this machine's own /proc and XDG data directories: the CPU time of the
// whole evaluation (the /proc read runs on a worker thread) and the part of
// it spent on the calling (GUI) thread. And what ten thousand desktop entries
// cost: the first read (on the index's own thread) and the read after one
// file changed.
//
// Usage: quillon-bench-automation [--quick]

#include "app/Settings.h"
#include "app/automation/TriggerManager.h"
#include "app/power/PowerSource.h"
#include "platform/PowerAssertionBackend.h"
#include "platform/linux/DesktopEntryIndex.h"
#include "platform/linux/DrmDisplays.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/LinuxRunningApps.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string_view>
#include <vector>

namespace {

using namespace quillon;

constexpr int kProcessCounts[] = {100, 300, 3000};
constexpr int kEntries = 200;
constexpr int kManyEntries = 10000;

// Holds nothing: the cost measured is the rules', not the desktop's.
class NoAssertions : public platform::PowerAssertionBackend {
public:
    std::optional<AssertionId> create(platform::PowerAssertionType, const QString&) override { return ++m_last; }
    void release(AssertionId) override { }

private:
    AssertionId m_last = 0;
};

double cpuMs(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID)
{
    timespec now{};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

void write(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(path.section('/', 0, -2));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

// A desktop's worth of processes: shells, a browser's many, services in
// their units, some in app scopes.
void makeProcess(const QString& proc, int i)
{
    const QString pid = QString("%1/%2").arg(proc).arg(2000 + i);
    const QByteArray program = QByteArray("/usr/bin/program") + QByteArray::number(i % 40);
    write(pid + "/cmdline", program + '\0' + "--option" + '\0');
    write(pid + "/comm", "program" + QByteArray::number(i % 40) + '\n');
    write(pid + "/cgroup",
        i % 3 == 0 ? "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-gnome-org.example.App"
                + QByteArray::number(i) + "-" + QByteArray::number(9000 + i) + ".scope\n"
                   : QByteArray("0::/user.slice/user-1000.slice/session-2.scope\n"));
    QFile::link(QString::fromLatin1(program), pid + "/exe");
    write(pid + "/stat",
        QByteArray::number(2000 + i) + " (program" + QByteArray::number(i % 40)
            + ") S 1 2 2 0 -1 4194560 100 0 0 0 1 1 0 0 20 0 1 0 " + QByteArray::number(500 + i)
            + " 1000000 100 18446744073709551615\n");
    // The kernel's last pid: this one.
    write(proc + "/loadavg", "0.10 0.05 0.01 1/100 " + QByteArray::number(2000 + i) + '\n');
}

void makeProcesses(const QString& proc, int count)
{
    write(proc + "/uptime", "100000.00 1000.00\n");
    for (int i = 0; i < count; ++i)
        makeProcess(proc, i);
}

void makeEntries(const QString& share, int count = kEntries)
{
    for (int i = 0; i < count; ++i) {
        write(QString("%1/applications/org.example.Entry%2.desktop").arg(share).arg(i),
            "[Desktop Entry]\nType=Application\nName=Entry " + QByteArray::number(i) + "\nExec=/opt/entry"
                + QByteArray::number(i) + "/bin/run %F\nIcon=entry\n");
    }
}

double wallMs()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

void waitForReads(const platform::linux_::DesktopEntryIndex& index, int reads)
{
    while (index.reads() < reads)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

struct Figures {
    double first = 0;  // ms, the first evaluation
    double steady = 0; // ms per evaluation after it
    double gui = 0;    // ms per evaluation after it, on the calling thread
};

// Evaluates and waits for the answer of the probes.
void evaluateAndWait(app::TriggerManager& triggers, platform::RunningApps& apps)
{
    int answers = 0;
    const QMetaObject::Connection counting
        = QObject::connect(&apps, &platform::RunningApps::found, [&] { ++answers; });
    triggers.evaluate();
    while (answers == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QObject::disconnect(counting);
}

// started: called before each evaluation after the first, to start a process.
Figures measure(platform::RunningApps& apps, int rounds, const std::function<void(int)>& started = {})
{
    QTemporaryDir home;
    app::Settings settings(home.path() + "/Quillon.conf");
    app::PowerSource power(platform::linux_::LinuxPlatform::powerSupply());
    platform::linux_::DrmDisplays displays;
    app::TriggerManager::Parts parts;
    parts.assertions = std::make_shared<NoAssertions>();
    parts.power = &power;
    parts.apps = &apps;
    parts.displays = &displays;
    parts.settings = &settings;
    parts.startTimers = false;
    app::TriggerManager triggers(std::move(parts));
    triggers.setKeepAwakeOnAC(true);
    triggers.setKeepAwakeOnExternalDisplay(true);
    for (int i = 0; i < 5; ++i)
        triggers.addApp({QString("org.example.Entry%1").arg(i * 40), QString("Entry %1").arg(i), std::nullopt});
    triggers.setAutomationEnabled(true);
    // The first evaluation reads every process in full.
    QCoreApplication::processEvents();
    const double before = cpuMs();
    evaluateAndWait(triggers, apps);
    Figures figures;
    figures.first = cpuMs() - before;
    for (int i = 0; i < rounds; ++i) {
        if (started)
            started(i);
        const double start = cpuMs();
        const double guiStart = cpuMs(CLOCK_THREAD_CPUTIME_ID);
        evaluateAndWait(triggers, apps);
        figures.steady += (cpuMs() - start) / rounds;
        figures.gui += (cpuMs(CLOCK_THREAD_CPUTIME_ID) - guiStart) / rounds;
    }
    return figures;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const bool quick = argc > 1 && std::string_view(argv[1]) == "--quick";
    const int rounds = quick ? 50 : 500;

    QTemporaryDir tree;
    makeEntries(tree.path() + "/share");
    const auto generated = [&](int processes, int times) {
        const QString proc = QString("%1/proc%2").arg(tree.path()).arg(processes);
        makeProcesses(proc, processes);
        platform::linux_::LinuxRunningApps apps(
            {tree.path() + "/share"}, proc, QDBusConnection(QStringLiteral("none")));
        waitForReads(apps.index(), 1);
        // Before each evaluation one process ends and another starts, so none is answered from the last.
        return measure(apps, times, [&](int round) {
            QDir(QString("%1/%2").arg(proc).arg(2000 + processes + round - 1)).removeRecursively();
            makeProcess(proc, processes + round);
        });
    };
    std::vector<std::pair<int, Figures>> generatedFigures;
    for (const int count : kProcessCounts)
        generatedFigures.emplace_back(count, generated(count, count > 1000 ? rounds / 10 : rounds));

    platform::linux_::LinuxRunningApps machine(
        platform::linux_::DesktopEntryIndex::fromEnvironment(), "/proc", QDBusConnection(QStringLiteral("none")));
    waitForReads(machine.index(), 1);
    const Figures own = measure(machine, rounds);

    // Ten thousand entries: the first read, then one installed application.
    QTemporaryDir many;
    makeEntries(many.path(), kManyEntries);
    double started = wallMs();
    double cpuBefore = cpuMs();
    platform::linux_::DesktopEntryIndex index({many.path()});
    waitForReads(index, 1);
    const double firstRead = wallMs() - started;
    const double firstCpu = cpuMs() - cpuBefore;
    const int firstParsed = index.parsed();
    write(many.path() + "/applications/org.example.New.desktop",
        "[Desktop Entry]\nType=Application\nName=New\nExec=new\n");
    started = wallMs();
    cpuBefore = cpuMs();
    waitForReads(index, 2);
    const double changeCpu = cpuMs() - cpuBefore;
    const double changeRead = wallMs() - started - platform::linux_::DesktopEntryIndex::settleMs;
    const qsizetype processes = QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs).size();
    const qsizetype entries = machine.index().entries().size();

    std::printf("Automation: CPU time of one evaluate (AC and display rules on, 5 listed apps, none running;\n"
                "one process new before each)\n");
    for (const auto& [count, figures] : generatedFigures) {
        const QString what = QString("%1 processes, 200 desktop entries: ").arg(count);
        std::printf("  %-62s %8.3f ms\n", qPrintable(what + "first"), figures.first);
        std::printf("  %-62s %8.3f ms (%.1f µs per process)\n", qPrintable(what + "each one after"),
            figures.steady, figures.steady * 1000.0 / count);
        std::printf("  %-62s %8.3f ms\n", qPrintable(what + "of it on the calling thread"), figures.gui);
        std::printf("  %-62s %8.1f ms\n", qPrintable(what + "per minute (one evaluation every 5 s)"),
            figures.steady * 60000.0 / app::TriggerManager::pollIntervalMs);
    }
    std::printf("  %-62s %8.3f ms (%.3f ms on the calling thread)\n",
        qPrintable(QString("this machine (%1 processes, %2 entries): each one").arg(processes).arg(entries)),
        own.steady, own.gui);
    std::printf("Desktop entries: %d in one folder, read on the index's own thread\n", kManyEntries);
    std::printf("  %-62s %8.1f ms (%d parsed, %.1f ms CPU)\n", "first read", firstRead, firstParsed, firstCpu);
    std::printf("  %-62s %8.1f ms (%d parsed, %.1f ms CPU)\n", "after one new entry, past the settling time",
        changeRead, index.parsed() - firstParsed, changeCpu);
    return 0;
}
