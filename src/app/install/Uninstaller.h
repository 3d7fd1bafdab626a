#pragma once

#include "AppOrigin.h"
#include "HelperLayout.h"
#include "InstallResult.h"

#include <QFuture>
#include <QFutureWatcher>
#include <QString>
#include <functional>
#include <memory>

namespace quillon::platform {
class PrivilegedRunner;
}

namespace quillon::app {

// Removes what Quillon put on the computer. The root part is one script run
// with one authentication: it stops and disables the helper (which hands the
// fans back to the firmware), removes every file the helper installer put
// down, and removes the app the way it came (see AppOrigin; a build tree is
// left alone). Every step tolerates what is already gone and the script
// always ends well, so a half-installed system is cleaned up too. The
// user's part, clearUserTraces, follows a successful removal.
class Uninstaller {
public:
    using Done = std::function<void(const InstallResult&)>;

    // The user's files the app writes.
    struct UserTraces {
        QString settingsFile;
        QString autostartEntry;
        QString cacheDir;
    };

    Uninstaller(platform::PrivilegedRunner& runner, AppOrigin origin, HelperLayout layout = HelperLayout());
    // With the origin still being found out (AppOrigin::detectInBackground).
    Uninstaller(platform::PrivilegedRunner& runner, QFuture<AppOrigin> origin, HelperLayout layout = HelperLayout());
    ~Uninstaller();

    // How the app came; a build tree (nothing of the app removed) until it is known.
    AppOrigin origin() const;
    bool originKnown() const { return m_origin.isFinished(); }
    // Calls then, on context's thread, once the origin is known; never when it already is.
    void whenOriginKnown(QObject* context, std::function<void()> then);
    // done hears `cancelled` for a dismissed authentication, else `failed`
    // only when the script could not run at all (German text). Waits for
    // the origin first, never the caller.
    void performPrivilegedRemoval(Done done);
    // Each missing item or failure is ignored.
    static void clearUserTraces(const UserTraces& traces);

private:
    platform::PrivilegedRunner& m_runner;
    QFuture<AppOrigin> m_origin;
    std::unique_ptr<QFutureWatcher<AppOrigin>> m_watcher;
    HelperLayout m_layout;
};

} // namespace quillon::app
