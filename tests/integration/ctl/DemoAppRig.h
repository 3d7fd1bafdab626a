#pragma once

#include "DaemonHarness.h"

#include "support/BusService.h"
#include "support/ChildProcess.h"
#include "support/Processes.h"
#include "support/RealLogind.h"

#include <QJsonObject>
#include <QTemporaryDir>
#include <QVariant>

namespace quillon::test {

// `quillon --demo` on a private session bus, with a home of its own, and
// `quillon ctl` pointed at it; its system bus is another private one where
// the real systemd-logind takes the app's and the helper's locks (where this
// process may not run it, as another user than root, python3-dbusmock's
// stand-in for it does). Shared by the scripting and the GUI tests.
class DemoAppRig {
public:
    DemoAppRig();

    // Starts the app with this environment added (display, platform) and
    // waits until it answers `quillon ctl status`. Unless seedOnboarding is
    // off, the user's settings say this version's intro was completed, so the
    // app presents its panel at launch rather than the welcome window.
    bool start(const QStringList& env);
    // A key of the user's settings (which the demo takes its language and
    // completed intro from), written before start().
    void setUserSetting(const QString& key, const QVariant& value);
    // The user's settings file.
    QString userSettingsFile() const;
    // `quillon ctl args...` against this app.
    ChildProcess::Result ctl(const QStringList& args) const;
    // The app's status, parsed; empty when it does not answer.
    QJsonObject status() const;
    // The processes the app started (pids whose parent it is).
    QList<qint64> children() const;
    // What a process needs to reach this app's bus and home.
    QStringList environment() const;
    // The app's temporary directory ($TMPDIR), in its home.
    QString temporaryDirectory() const;
    // The demo's private folder, as the app announces it once it has started
    // the demo; empty when it does not.
    QString demoDirectory();
    // The app's standard error so far.
    std::string log() const;

    bool seedOnboarding = true;
    // Off: nothing serves logind, so nothing on the system bus holds keep-awake.
    bool withLogind = true;
    PrivateBus bus;
    PrivateBus systemBus;
    std::unique_ptr<RealLogind> logind;
    std::unique_ptr<BusService> logindStandIn;
    QTemporaryDir home;
    LineProcess app;
};

} // namespace quillon::test
