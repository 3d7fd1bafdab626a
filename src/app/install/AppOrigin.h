#pragma once

#include <QFuture>
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
    QString prefix;    // for `localInstall`: the install prefix, every file lies below it
    QStringList files; // for `localInstall`: every file, the manifest last

    // Which package owns a path; empty when none.
    using PackageOwner = std::function<QString(const QString& path)>;

    // Whose manifest root may act on: the manifest and every folder above it
    // up to `above` must belong to `owner` and be writable by nobody else.
    // The system's answer is root, all the way up; tests name their own user
    // and their own folder.
    struct ManifestTrust {
        uint owner = 0;
        QString above = QStringLiteral("/");
    };

    // The app at appPath: a package when one owns it, else a local install
    // when the install manifest beside it (../share/quillon) lists it and is
    // trusted; only its lines below the install prefix are taken.
    static AppOrigin detect(const QString& appPath, const PackageOwner& owner, const ManifestTrust& trust);
    // The same with the system's trust: root's manifest, root's folders.
    static AppOrigin detect(const QString& appPath, const PackageOwner& owner);
    // The system's detect, dpkg asked, on a pool thread: dpkg-query may take
    // seconds, and the caller is the GUI.
    static QFuture<AppOrigin> detectInBackground(const QString& appPath);
    // dpkg's answer (waits up to 10 s for dpkg-query).
    static QString dpkgOwner(const QString& path);
    // Where an install puts its manifest, relative to the app's folder.
    static QString manifestPath(const QString& appPath);

    // The folders below the prefix that hold the listed files and are ours by
    // name (a "quillon" folder), deepest first: the only ones a removal may
    // take away once empty. Shared folders such as bin/ stay, empty or not.
    QStringList ownFolders() const;
};

} // namespace quillon::app
