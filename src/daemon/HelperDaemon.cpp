#include "HelperDaemon.h"

#include "CallerAuthorization.h"
#include "FanHelperBusObject.h"
#include "FanHelperService.h"
#include "HelperBus.h"
#include "HelperNames.h"
#include "LogLine.h"
#include "LogindLidLock.h"
#include "LogindSleepWatch.h"
#include "PolkitDBusAuthority.h"
#include "QtTickTimer.h"
#include "StatusPayload.h"
#include "SystemDaemonLog.h"
#include "SystemMonotonicClock.h"
#include "TerminationSignals.h"
#include "fanhelperadaptor.h"

#include "smc/SmcConnection.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <malloc.h>
#include <memory>
#include <unistd.h>
#include <utility>

namespace quillon::daemon {

namespace {

constexpr int kExitFailed = 1;
// Calls within one watchdog interval after which the heap is trimmed: a flood
// of requests leaves freed pages behind that glibc would otherwise keep.
constexpr long kTrimAfterCalls = 1000;
// A control or watchdog tick later than this is worth a line in the log.
constexpr std::chrono::milliseconds kLateTick{50};

using Severity = DaemonLog::Severity;

void logLine(DaemonLog& log, Severity severity, const QString& text)
{
    log.write(severity, LogLine("Quillon daemon: ").append(text.toStdString()).text());
}

} // namespace

int HelperDaemon::run(int argc, char** argv)
{
    SystemDaemonLog log;
    log.write(Severity::notice,
        LogLine()
            .appendf("Quillon daemon starting (uid=%d, euid=%d)", static_cast<int>(::getuid()),
                static_cast<int>(::geteuid()))
            .text());

    QCoreApplication app(argc, argv);
    TerminationSignals termination;
    if (!termination.active())
        logLine(log, Severity::warning, QStringLiteral("cannot route termination signals; they end the process as is"));

    // The service comes first: its start-up hands the fans back to the
    // firmware and drops any lid lock, whatever happens after.
    SystemMonotonicClock clock;
    LogindLidLock lidLock(QDBusConnection::systemBus());
    QtTickTimer loopTimer;
    QtTickTimer watchdogTimer;
    FanHelperService service({smc::SmcConnection::processWide(), lidLock, loopTimer, watchdogTimer, clock, log});
    loopTimer.setHandler([&service] { service.applyOnce(); });
    LogindSleepWatch sleepWatch(QDBusConnection::systemBus(), [&](bool goingToSleep) {
        if (goingToSleep)
            log.write(Severity::notice, "Quillon daemon: the machine is going to sleep");
        else
            service.noteResume();
    });
    if (!sleepWatch.watching())
        logLine(
            log, Severity::warning, QStringLiteral("cannot follow logind's sleep signal; no re-apply after resume"));

    QString error;
    const std::optional<HelperBus::Setting> setting = HelperBus::fromEnvironment(error);
    if (!setting) {
        logLine(log, Severity::warning, error);
        return kExitFailed;
    }
    QDBusConnection bus = HelperBus::connect(*setting);
    if (!bus.isConnected()) {
        logLine(log, Severity::warning,
            QStringLiteral("cannot connect to the %1 bus: %2")
                .arg(HelperBus::describe(*setting), bus.lastError().message()));
        return kExitFailed;
    }

    const bool onSystemBus = setting->kind == HelperBus::Kind::system;
    std::unique_ptr<PolkitDBusAuthority> polkit;
    if (onSystemBus)
        polkit = std::make_unique<PolkitDBusAuthority>(bus);
    CallerAuthorization authorization(
        onSystemBus ? CallerAuthorization::Mode::polkit : CallerAuthorization::Mode::sameUser, ::getuid(),
        polkit.get());

    StatusPayload::registerTypes();
    FanHelperBusObject busObject(service, authorization, clock, log);
    new FanHelperAdaptor(&busObject); // owned by busObject
    const QString serviceName = QString::fromLatin1(HelperNames::kService);
    if (!bus.registerObject(QString::fromLatin1(HelperNames::kObjectPath), &busObject)) {
        logLine(
            log, Severity::warning, QStringLiteral("cannot register %1").arg(QLatin1String(HelperNames::kObjectPath)));
        return kExitFailed;
    }
    if (!bus.registerService(serviceName)) {
        logLine(log, Severity::warning,
            QStringLiteral("cannot own %1 on the %2 bus: %3")
                .arg(serviceName, HelperBus::describe(*setting), bus.lastError().message()));
        return kExitFailed;
    }

    bool stopping = false;
    const auto stop = [&](int status) {
        if (std::exchange(stopping, true))
            return;
        // An unverified hand-back is a failure systemd should see (and log).
        const bool verified = service.emergencyRelease();
        busObject.detachService();
        QCoreApplication::exit(verified ? status : kExitFailed);
    };
    QObject::connect(&termination, &TerminationSignals::received, [&](int) {
        log.write(Severity::warning, "Quillon daemon: received termination signal — releasing to Apple");
        stop(0);
    });
    // The watchdog also notices a lost bus: the app can no longer reach the
    // helper, so it gives up everything and leaves the restart to systemd.
    watchdogTimer.setHandler([&] {
        service.checkWatchdog();
        if (busObject.takeHandledCalls() > kTrimAfterCalls)
            ::malloc_trim(0);
        const auto late = std::max(loopTimer.takeWorstLateness(), watchdogTimer.takeWorstLateness());
        if (late > kLateTick) {
            log.write(Severity::warning,
                LogLine()
                    .appendf("Quillon daemon: a tick ran %lld ms late", static_cast<long long>(late.count()))
                    .text());
        }
        if (!bus.isConnected()) {
            log.write(Severity::warning, "Quillon daemon: lost the bus connection — releasing to Apple");
            stop(kExitFailed);
        }
    });

    logLine(log, Severity::notice, QStringLiteral("listening on %1").arg(serviceName));
    return QCoreApplication::exec();
}

} // namespace quillon::daemon
