#pragma once

#include "FanHelperProxy.h"

#include "smc/SmcConnection.h"
#include "support/EventLoop.h"
#include "support/LineProcess.h"
#include "support/PrivateBus.h"
#include "support/SimServerProcess.h"

#include <QDBusPendingReply>
#include <QProcess>
#include <memory>

// Real processes around the fan helper: a private dbus-daemon, the shared
// simulated Mac, stand-ins for logind and polkit, quillon-helper --daemon,
// and a client in the test process. Shared by the integration tests and the
// benchmark.
namespace quillon::test {

using namespace std::chrono_literals;

// The unprivileged account the tests call as (uid and gid).
constexpr unsigned kNobody = 65534;

// One helper on a private bus and the shared simulated Mac, with a client.
class HelperRig {
public:
    HelperRig();

    // env: extra environment for the helper. Whether it came up serving.
    bool startHelper(const QStringList& env = {});
    // logind and polkit on the private bus; polkit grants the actions given.
    bool startSystemServices(const QStringList& grantedActions = {});

    // The helper's standard error so far.
    QString helperLog() const;
    // What a process needs to use this rig's Mac and bus.
    QStringList environment() const;

    int mode(int fan) { return smc.readU8("F" + std::to_string(fan) + "Md"); }
    int target(int fan) { return static_cast<int>(smc.readFlt("F" + std::to_string(fan) + "Tg")); }
    bool allFansInFirmwareMode() { return smc.readU8("Ftst") + mode(0) + mode(1) == 0; }

    SimServerProcess mac;
    smc::SmcConnection smc;
    PrivateBus bus;
    LineProcess helper;
    LineProcess systemServices;
    std::unique_ptr<FanHelperProxy> client;
};

// A (b ok, s text) reply, waited for; error set when the call failed.
struct Answer {
    bool ok = false;
    QString text;
    QString error;
};
Answer answerOf(QDBusPendingReply<bool, QString> reply);
QList<QVariantMap> fansOf(const QVariantMap& status);
QVariantMap statusOf(FanHelperProxy& client);

// Runs a program to completion as the given uid and gid (needs root), env as
// in ChildProcess; its standard output and error, or "" on failure.
QString runAsUser(unsigned uid, const QString& program, const QStringList& args, const QStringList& env = {});
// Starts a program as the given uid and gid (needs root) without waiting for it.
std::unique_ptr<QProcess> startAsUser(
    unsigned uid, const QString& program, const QStringList& args, const QStringList& env = {});
// dbus-send --print-reply of one helper method as the given uid.
QString callAsUser(unsigned uid, const QString& address, const QString& method, const QStringList& args = {});

} // namespace quillon::test
