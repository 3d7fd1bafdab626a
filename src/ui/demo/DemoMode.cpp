#include "DemoMode.h"

#include "daemon/HelperNames.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QThread>
#include <csignal>
#include <sys/prctl.h>

namespace quillon::ui {

namespace {

constexpr int kStopTimeoutMs = 5000;
constexpr int kBusPollMs = 20;

} // namespace

DemoMode::DemoMode(QString helperProgram)
    : m_helperProgram(std::move(helperProgram))
{
}

DemoMode::~DemoMode()
{
    stop();
}

QString DemoMode::socketPath() const
{
    return m_dir.path() + QStringLiteral("/mac.sock");
}

QString DemoMode::logPath() const
{
    return m_dir.path() + QStringLiteral("/helper.log");
}

QProcess& DemoMode::launch(
    const QString& program, const QStringList& args, const QStringList& environment, const QString& logFile)
{
    auto process = std::make_unique<QProcess>();
    if (!logFile.isEmpty()) {
        process->setProcessChannelMode(QProcess::MergedChannels);
        process->setStandardOutputFile(logFile);
    }
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment)
        env.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process->setProcessEnvironment(env);
    // Should the app die without stopping its children, they go with it.
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->start(program, args);
    m_children.push_back(std::move(process));
    return *m_children.back();
}

bool DemoMode::start(QString& error)
{
    if (!m_dir.isValid()) {
        error = QStringLiteral("cannot create a private directory: %1").arg(m_dir.errorString());
        return false;
    }
    if (startSimulator(error) && startBus(error) && startHelper(error))
        return true;
    stop();
    return false;
}

bool DemoMode::startSimulator(QString& error)
{
    QProcess& sim = launch(m_helperProgram, {QStringLiteral("--smc-sim"), socketPath()});
    // The server announces itself once it listens.
    if (sim.waitForStarted(kStartTimeoutMs) && sim.waitForReadyRead(kStartTimeoutMs)
        && sim.readLine().startsWith("Simulated Mac serving on"))
        return true;
    error = QStringLiteral("the simulated Mac did not start (%1 --smc-sim): %2")
                .arg(m_helperProgram, QString::fromLocal8Bit(sim.readAllStandardError()).trimmed());
    return false;
}

bool DemoMode::startBus(QString& error)
{
    QProcess& bus = launch(QStringLiteral("dbus-daemon"),
        {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1"),
            QStringLiteral("--address=unix:path=") + m_dir.path() + QStringLiteral("/bus")});
    if (bus.waitForStarted(kStartTimeoutMs) && bus.waitForReadyRead(kStartTimeoutMs)) {
        m_busAddress = QString::fromUtf8(bus.readLine()).trimmed();
        if (!m_busAddress.isEmpty())
            return true;
    }
    error = QStringLiteral("the private D-Bus daemon did not start (is dbus-daemon installed?): %1")
                .arg(bus.errorString());
    return false;
}

bool DemoMode::startHelper(QString& error)
{
    QProcess& helper = launch(m_helperProgram, {QStringLiteral("--daemon")},
        {QStringLiteral("QUILLON_SMC=") + smcSetting(), QStringLiteral("QUILLON_HELPER_BUS=") + m_busAddress},
        logPath());
    if (!helper.waitForStarted(kStartTimeoutMs)) {
        error = QStringLiteral("the fan helper did not start: %1").arg(helper.errorString());
        return false;
    }
    // Ready once it owns its name on the private bus.
    QDBusConnection bus = QDBusConnection::connectToBus(m_busAddress, QStringLiteral("quillon-demo-probe"));
    const QString name = QString::fromLatin1(daemon::HelperNames::kService);
    bool ready = false;
    for (QDeadlineTimer deadline(kStartTimeoutMs); !ready && !deadline.hasExpired();) {
        ready = bus.isConnected() && bus.interface()->isServiceRegistered(name).value();
        if (!ready && helper.state() == QProcess::NotRunning)
            break;
        if (!ready)
            QThread::msleep(kBusPollMs);
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("quillon-demo-probe"));
    if (!ready)
        error = QStringLiteral("the fan helper did not come up on its bus; see %1").arg(logPath());
    return ready;
}

void DemoMode::stop()
{
    // Reverse order: the helper hands the fans back while its Mac and bus are still there.
    while (!m_children.empty()) {
        QProcess& child = *m_children.back();
        if (child.state() != QProcess::NotRunning) {
            child.terminate();
            if (!child.waitForFinished(kStopTimeoutMs)) {
                child.kill();
                child.waitForFinished(kStopTimeoutMs);
            }
        }
        m_children.pop_back();
    }
}

} // namespace quillon::ui
