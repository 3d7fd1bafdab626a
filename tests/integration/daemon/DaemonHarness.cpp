#include "DaemonHarness.h"

#include "smc/SharedSimClient.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <atomic>
#include <csignal>
#include <grp.h>
#include <unistd.h>

namespace quillon::test {

namespace {

// The system bus's defaults (see /usr/share/dbus-1/system.conf).
const char* const kSystemLikePolicy = R"(
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>)";

const char* const kOpenPolicy = R"(
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>)";

} // namespace

void ensureCoreApplication()
{
    static int argc = 1;
    static char name[] = "quillon-daemon-test";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv); // lives as long as the process
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeout.count())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(10);
    }
    return true;
}

PrivateBus::PrivateBus(const QString& extraConfig, bool systemLike)
{
    // Other uids must reach the socket inside.
    QFile::setPermissions(m_dir.path(), QFile::permissions(m_dir.path()) | QFile::ReadOther | QFile::ExeOther);
    QFile config(m_dir.path() + "/bus.conf");
    if (!config.open(QIODevice::WriteOnly))
        return;
    config.write(QStringLiteral(R"(<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <limit name="max_replies_per_connection">50000</limit>
  <policy context="default"><allow user="*"/>%2</policy>
  %3
</busconfig>)")
                     .arg(m_dir.path(), QLatin1String(systemLike ? kSystemLikePolicy : kOpenPolicy), extraConfig)
                     .toUtf8());
    config.close();
    m_process.start("dbus-daemon", {"--config-file=" + config.fileName(), "--nofork", "--print-address=1"});
    QElapsedTimer timer;
    timer.start();
    while (m_process.waitForStarted(5000) && !m_process.canReadLine() && timer.elapsed() < 5000)
        m_process.waitForReadyRead(100);
    m_address = QString::fromUtf8(m_process.readLine()).trimmed();
}

PrivateBus::~PrivateBus()
{
    m_process.terminate();
    if (!m_process.waitForFinished(5000))
        kill();
}

void PrivateBus::kill()
{
    m_process.kill();
    m_process.waitForFinished(5000);
}

LineProcess::~LineProcess()
{
    signal(SIGTERM);
    if (running() && !waitForExit(5s)) {
        m_process.kill();
        m_process.waitForFinished(2000);
    }
}

void LineProcess::start(
    const QString& program, const QStringList& args, const QStringList& env, const QString& stderrFile)
{
    m_process.setProcessEnvironment(ChildProcess::environment(env));
    if (!stderrFile.isEmpty())
        m_process.setStandardErrorFile(stderrFile);
    m_process.start(program, args);
    m_process.waitForStarted(5000);
}

QStringList LineProcess::lines()
{
    m_pending += m_process.readAllStandardOutput();
    for (qsizetype newline; (newline = m_pending.indexOf('\n')) >= 0; m_pending.remove(0, newline + 1))
        m_lines << QString::fromUtf8(m_pending.left(newline));
    return m_lines;
}

bool LineProcess::waitForLine(const QString& part, std::chrono::milliseconds timeout)
{
    QElapsedTimer timer;
    timer.start();
    while (lines().filter(part).isEmpty()) {
        if (timer.elapsed() > timeout.count() || !running())
            return false;
        m_process.waitForReadyRead(50);
    }
    return true;
}

void LineProcess::signal(int signalNumber)
{
    if (running())
        ::kill(static_cast<pid_t>(m_process.processId()), signalNumber);
}

std::optional<int> LineProcess::waitForExit(std::chrono::milliseconds timeout)
{
    if (running() && !m_process.waitForFinished(static_cast<int>(timeout.count())))
        return std::nullopt;
    if (m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

HelperRig::HelperRig()
    : smc(std::make_unique<smc::SharedSimClient>(mac.path.toStdString()))
{
    static std::atomic<int> connections{0};
    ensureCoreApplication();
    const auto connection
        = QDBusConnection::connectToBus(bus.address(), QStringLiteral("quillon-test-%1").arg(++connections));
    client = std::make_unique<FanHelperProxy>(
        "org.quillon.Quillon.smchelper", "/org/quillon/Quillon/smchelper", connection);
}

HelperRig::~HelperRig()
{
    const QString name = client->connection().name();
    client.reset();
    QDBusConnection::disconnectFromBus(name);
}

QStringList HelperRig::environment() const
{
    return mac.env() + QStringList{"QUILLON_HELPER_BUS=" + bus.address(), "DBUS_SYSTEM_BUS_ADDRESS=" + bus.address()};
}

bool HelperRig::startHelper(const QStringList& env)
{
    helper.start(QUILLON_HELPER_BIN, {"--daemon"}, environment() + env, mac.path + ".helper.log");
    return waitUntil([&] { return helperLog().contains("listening on org.quillon.Quillon.smchelper"); }, 10s);
}

bool HelperRig::startSystemServices(const QStringList& grantedActions)
{
    QStringList args{bus.address()};
    for (const QString& action : grantedActions)
        args << "--grant" << action;
    systemServices.start(QUILLON_FAKE_SYSTEM_SERVICES_BIN, args, {});
    return systemServices.waitForLine("ready", 10s);
}

QString HelperRig::helperLog() const
{
    QFile file(mac.path + ".helper.log");
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

Answer answerOf(QDBusPendingReply<bool, QString> reply)
{
    reply.waitForFinished();
    if (reply.isError())
        return {false, {}, reply.error().name() + ": " + reply.error().message()};
    return {reply.argumentAt<0>(), reply.argumentAt<1>(), {}};
}

QList<QVariantMap> fansOf(const QVariantMap& status)
{
    return qdbus_cast<QList<QVariantMap>>(status.value("fans"));
}

QVariantMap statusOf(FanHelperProxy& client)
{
    QDBusPendingReply<QVariantMap> reply = client.GetStatus();
    reply.waitForFinished();
    return reply.isError() ? QVariantMap() : reply.value();
}

QString runAsUser(unsigned uid, const QString& program, const QStringList& args, const QStringList& env)
{
    QProcess process;
    process.setProcessEnvironment(ChildProcess::environment(env));
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setChildProcessModifier([uid] {
        if (::setgroups(0, nullptr) != 0 || ::setgid(uid) != 0 || ::setuid(uid) != 0)
            ::_exit(127);
    });
    process.start(program, args);
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished(2000);
    }
    return QString::fromUtf8(process.readAll());
}

QString callAsUser(unsigned uid, const QString& address, const QString& method, const QStringList& args)
{
    return runAsUser(uid, "dbus-send",
        QStringList{"--bus=" + address, "--print-reply", "--dest=org.quillon.Quillon.smchelper",
            "/org/quillon/Quillon/smchelper", method}
            + args);
}

} // namespace quillon::test
