#include "DemoMode.h"

#include "daemon/HelperNames.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillon::ui {

namespace {

constexpr int kStopTimeoutMs = 5000;
constexpr int kBusPollMs = 20;

// Waits, deaf to the terminal's signals, until its input ends (every write
// end closed: the app quit or died), then removes the folder given as $1.
// After a normal quit the folder is already gone and rm has nothing to do.
constexpr char kWatcherScript[] = "trap '' INT TERM HUP QUIT; while read -r line; do :; done; exec rm -rf -- \"$1\"";

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// Removes path if it is a demo folder of this user whose demo is gone: its
// owner file exists, is not empty (its demo writes it once it holds the
// lock, so an empty one may belong to a demo still starting) and nobody
// holds its lock.
void removeIfAbandoned(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    struct stat info { };
    if (::lstat(native.constData(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid())
        return;
    const QByteArray ownerFile = native + '/' + DemoMode::kOwnerFile;
    const int owner = ::open(ownerFile.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (owner < 0)
        return;
    if (::fstat(owner, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == ::geteuid() && info.st_size > 0
        && ::flock(owner, LOCK_EX | LOCK_NB) == 0)
        QDir(path).removeRecursively();
    ::close(owner);
}

// Folders of earlier demos that died along with their watcher (all of the
// user's processes killed at once, a power loss with a persistent /tmp).
void removeAbandonedDirectories()
{
    const QDir parent(QDir::tempPath());
    const QStringList names = parent.entryList({QLatin1String(DemoMode::kDirectoryPrefix) + QLatin1Char('*')},
        QDir::Dirs | QDir::NoSymLinks | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString& name : names)
        removeIfAbandoned(parent.filePath(name));
}

} // namespace

DemoMode::DemoMode(QString helperProgram)
    : m_helperProgram(std::move(helperProgram))
    , m_dir(QDir::tempPath() + QLatin1Char('/') + QLatin1String(kDirectoryPrefix) + QStringLiteral("XXXXXX"))
{
}

DemoMode::~DemoMode()
{
    stop();
    m_dir.remove();
    // Now the watcher's input ends and its rm finds nothing left to do.
    if (m_watcherInput >= 0)
        ::close(m_watcherInput);
    if (m_ownerFile >= 0)
        ::close(m_ownerFile);
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
    if (!claimDirectory(error) || !startWatcher(error))
        return false;
    removeAbandonedDirectories(); // ours is locked, so it stays
    if (startSimulator(error) && startBus(error) && startHelper(error))
        return true;
    stop();
    return false;
}

bool DemoMode::claimDirectory(QString& error)
{
    const QByteArray path = QFile::encodeName(m_dir.path() + QLatin1Char('/') + QLatin1String(kOwnerFile));
    const QByteArray pid = QByteArray::number(::getpid()) + '\n';
    m_ownerFile = ::open(path.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    // Locked before written: see removeIfAbandoned.
    if (m_ownerFile >= 0 && ::flock(m_ownerFile, LOCK_EX | LOCK_NB) == 0
        && ::write(m_ownerFile, pid.constData(), static_cast<size_t>(pid.size())) == pid.size())
        return true;
    error = QStringLiteral("cannot claim the private directory %1: %2").arg(m_dir.path(), systemError());
    return false;
}

bool DemoMode::startWatcher(QString& error)
{
    // Close-on-exec, so that no other child of ours holds the write end open.
    int input[2];
    if (::pipe2(input, O_CLOEXEC) != 0) {
        error = QStringLiteral("cannot start the directory's watcher: %1").arg(systemError());
        return false;
    }
    const QByteArray directory = QFile::encodeName(m_dir.path());
    // The folder is an argument, never part of the script's text.
    const char* const argv[] = {"/bin/sh", "-c", kWatcherScript, "sh", directory.constData(), nullptr};
    const pid_t intermediate = ::fork();
    if (intermediate == 0) {
        // Only async-signal-safe calls from here to exec: other threads may
        // have held locks at the fork. A session of its own keeps the watcher
        // out of the terminal's Ctrl-C and a kill of the app's process group;
        // the second fork leaves the app's children the demo's three.
        ::setsid();
        const pid_t watcher = ::_Fork();
        if (watcher != 0)
            ::_exit(watcher < 0 ? 1 : 0);
        if (::dup2(input[0], STDIN_FILENO) != STDIN_FILENO || ::fcntl(STDIN_FILENO, F_SETFD, 0) != 0)
            ::_exit(127);
        ::close_range(3, ~0U, 0); // nothing else of ours stays open while it waits
        ::execve(argv[0], const_cast<char* const*>(argv), environ);
        ::_exit(127);
    }
    const QString forkError = intermediate < 0 ? systemError() : QString();
    ::close(input[0]);
    int status = 0;
    while (intermediate > 0 && ::waitpid(intermediate, &status, 0) < 0 && errno == EINTR) { }
    if (intermediate < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        error = QStringLiteral("cannot start the directory's watcher: %1")
                    .arg(intermediate < 0 ? forkError : QStringLiteral("fork failed"));
        ::close(input[1]);
        return false;
    }
    m_watcherInput = input[1];
    return true;
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
