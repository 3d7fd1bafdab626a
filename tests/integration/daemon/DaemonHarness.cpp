#include "DaemonHarness.h"

#include "smc/SharedSimClient.h"
#include "support/ChildProcess.h"
#include "support/Files.h"

#include <QDBusArgument>
#include <grp.h>
#include <unistd.h>

namespace quillon::test {

HelperRig::HelperRig()
    : smc(std::make_unique<smc::SharedSimClient>(mac.path.toStdString()))
{
    ensureCoreApplication();
    client = std::make_unique<FanHelperProxy>(
        "org.quillon.Quillon.smchelper", "/org/quillon/Quillon/smchelper", bus.connection());
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
    return QString::fromUtf8(readFile(mac.path + ".helper.log"));
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

std::unique_ptr<QProcess> startAsUser(
    unsigned uid, const QString& program, const QStringList& args, const QStringList& env)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(ChildProcess::environment(env));
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->setChildProcessModifier([uid] {
        if (::setgroups(0, nullptr) != 0 || ::setgid(uid) != 0 || ::setuid(uid) != 0)
            ::_exit(127);
    });
    process->start(program, args);
    return process;
}

QString runAsUser(unsigned uid, const QString& program, const QStringList& args, const QStringList& env)
{
    const std::unique_ptr<QProcess> process = startAsUser(uid, program, args, env);
    if (!process->waitForFinished(10000)) {
        process->kill();
        process->waitForFinished(2000);
    }
    return QString::fromUtf8(process->readAll());
}

QString callAsUser(unsigned uid, const QString& address, const QString& method, const QStringList& args)
{
    return runAsUser(uid, "dbus-send",
        QStringList{"--bus=" + address, "--print-reply", "--dest=org.quillon.Quillon.smchelper",
            "/org/quillon/Quillon/smchelper", method}
            + args);
}

} // namespace quillon::test
