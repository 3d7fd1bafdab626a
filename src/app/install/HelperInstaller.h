#pragma once

#include "HelperLayout.h"
#include "InstallResult.h"

#include <QString>
#include <functional>

namespace quillon::platform {
class PrivilegedRunner;
}

namespace quillon::app {

// Installs the fan helper that ships beside the app as a system service,
// with one root script, so the user authenticates once: the helper
// executable, its systemd unit, its bus policy and activation file and its
// polkit actions. Root runs only what the app meant: the script travels in
// the privileged command's arguments, the data files are part of its text,
// and the helper executable is copied by root, links refused, into a folder
// of root's own and checked against the SHA-256 the app took before asking
// for the password; nothing a user's process can write stands in between.
// Every file is first copied in under a temporary name and only renamed into
// place once all copies and permissions succeeded, so a script that stops
// midway leaves the earlier installation (or none) as it was. Then the service manager and the bus reload, the old
// helper stops and a Ping starts the new one by bus activation; no answer after one retry fails the install.
// Service-manager trouble on the way is never fatal.
class HelperInstaller {
public:
    using Done = std::function<void(const InstallResult&)>;

    // bundledHelper: the standalone quillon-helper shipped with the app.
    HelperInstaller(platform::PrivilegedRunner& runner, QString bundledHelper, HelperLayout layout = HelperLayout());

    // The helper shipped with the app in appDir: beside it (a build tree, a
    // `cmake --install` into one folder), else in ../libexec/quillon.
    static QString bundledHelperFor(const QString& appDir)
    {
        return bundledProgram(appDir, QStringLiteral("quillon-helper"));
    }
    // Any program shipped with the app (the drive toucher, the update check),
    // found as the helper is.
    static QString bundledProgram(const QString& appDir, const QString& name);

    // Both the installed helper and its unit are there; nothing more is checked.
    bool isInstalled() const;
    const HelperLayout& layout() const { return m_layout; }
    const QString& bundledHelper() const { return m_bundledHelper; }

    // done hears the outcome once: `cancelled` when the user dismissed the
    // authentication, `failed` with the reason in the failing step's words.
    void install(Done done);

private:
    platform::PrivilegedRunner& m_runner;
    QString m_bundledHelper;
    HelperLayout m_layout;
};

} // namespace quillon::app
