#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace quillon::app {

// How the running app came onto the computer, which decides how the
// uninstaller removes it.
struct AppOrigin {
    enum class Kind {
        package,      // a Debian package: removed through dpkg
        localInstall, // `cmake --install`: the files its manifest lists
        buildTree,    // run from where it was built: left alone
    };
    Kind kind = Kind::buildTree;
    QString package;   // for `package`
    QStringList files; // for `localInstall`: every file, the manifest last

    // Which package owns a path; empty when none.
    using PackageOwner = std::function<QString(const QString& path)>;

    // The app at appPath: a package when one owns it, else a local install
    // when the install manifest beside it (../share/quillon) lists it.
    static AppOrigin detect(const QString& appPath, const PackageOwner& owner);
    // dpkg's answer.
    static QString dpkgOwner(const QString& path);
    // Where an install puts its manifest, relative to the app's folder.
    static QString manifestPath(const QString& appPath);
};

} // namespace quillon::app
