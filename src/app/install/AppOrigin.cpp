#include "AppOrigin.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QPromise>
#include <QSet>
#include <QThreadPool>
#include <algorithm>
#include <memory>
#include <sys/stat.h>

namespace quillon::app {

namespace {

// A manifest larger than this is not one `cmake --install` wrote for us.
constexpr qint64 kMaxManifestBytes = 1024 * 1024;

// Whether path (no link) belongs to the trusted owner and nobody else may write it.
bool ownedAlone(const QString& path, uint owner)
{
    struct stat info { };
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0 || S_ISLNK(info.st_mode))
        return false;
    return info.st_uid == owner && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// The manifest file and every folder above it, up to and including `above`.
bool trusted(const QString& manifest, const AppOrigin::ManifestTrust& trust)
{
    if (!ownedAlone(manifest, trust.owner) || !QFileInfo(manifest).isFile())
        return false;
    const QString top = QDir::cleanPath(trust.above);
    QString folder = QFileInfo(manifest).path();
    while (true) {
        if (!ownedAlone(folder, trust.owner))
            return false;
        if (folder == top || folder == QLatin1String("/"))
            return true;
        folder = QFileInfo(folder).path();
    }
}

bool isOurs(const QString& folderName)
{
    return folderName.contains(QLatin1String("quillon"), Qt::CaseInsensitive);
}

} // namespace

QString AppOrigin::manifestPath(const QString& appPath)
{
    return QFileInfo(appPath).absolutePath() + QStringLiteral("/../share/quillon/install_manifest.txt");
}

QFuture<AppOrigin> AppOrigin::detectInBackground(const QString& appPath)
{
    auto promise = std::make_shared<QPromise<AppOrigin>>();
    QFuture<AppOrigin> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, appPath] {
        promise->addResult(detect(appPath, dpkgOwner));
        promise->finish();
    });
    return future;
}

QString AppOrigin::dpkgOwner(const QString& path)
{
    QProcess query;
    query.start(QStringLiteral("dpkg-query"), {QStringLiteral("--search"), path});
    if (!query.waitForFinished(10000) || query.exitStatus() != QProcess::NormalExit || query.exitCode() != 0)
        return {};
    // "quillon: /usr/bin/quillon"; a diversion line starts differently and is skipped.
    for (const QByteArray& line : query.readAllStandardOutput().split('\n')) {
        const qsizetype colon = line.indexOf(": ");
        if (colon > 0 && !line.startsWith("diversion ") && line.mid(colon + 2) == path.toUtf8())
            return QString::fromUtf8(line.left(colon)).section(QLatin1Char(':'), 0, 0);
    }
    return {};
}

AppOrigin AppOrigin::detect(const QString& appPath, const PackageOwner& owner)
{
    return detect(appPath, owner, ManifestTrust{});
}

AppOrigin AppOrigin::detect(const QString& appPath, const PackageOwner& owner, const ManifestTrust& trust)
{
    const QString app = QFileInfo(appPath).canonicalFilePath();
    if (const QString package = owner ? owner(app) : QString(); !package.isEmpty())
        return {Kind::package, package, {}, {}};

    const QString manifestFile = QFileInfo(manifestPath(appPath)).canonicalFilePath();
    if (manifestFile.isEmpty() || !trusted(manifestFile, trust))
        return {};
    QFile manifest(manifestFile);
    if (manifest.size() > kMaxManifestBytes || !manifest.open(QIODevice::ReadOnly))
        return {};
    // share/quillon/install_manifest.txt lies three levels below the prefix.
    const QString prefix = QDir::cleanPath(QFileInfo(manifestFile).path() + QStringLiteral("/../.."));
    QStringList files;
    QSet<QString> seen;
    bool listsApp = false;
    for (const QByteArray& line : manifest.readAll().split('\n')) {
        const QString file = QDir::cleanPath(QString::fromUtf8(line));
        if (line.isEmpty() || !file.startsWith(prefix + QLatin1Char('/')) || seen.contains(file))
            continue;
        seen.insert(file);
        listsApp = listsApp || QFileInfo(file).canonicalFilePath() == app;
        files << file;
    }
    if (!listsApp)
        return {};
    files << manifestFile;
    return {Kind::localInstall, {}, prefix, files};
}

QStringList AppOrigin::ownFolders() const
{
    QStringList folders;
    if (prefix.isEmpty())
        return folders;
    const QString top = QDir::cleanPath(prefix);
    for (const QString& file : files) {
        QString folder = QFileInfo(QDir::cleanPath(file)).path();
        while (folder.startsWith(top + QLatin1Char('/')) && isOurs(QFileInfo(folder).fileName())) {
            if (!folders.contains(folder))
                folders << folder;
            folder = QFileInfo(folder).path();
        }
    }
    std::sort(folders.begin(), folders.end(), [](const QString& a, const QString& b) { return a.size() > b.size(); });
    return folders;
}

} // namespace quillon::app
