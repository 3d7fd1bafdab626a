#include "AppOrigin.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace quillon::app {

QString AppOrigin::manifestPath(const QString& appPath)
{
    return QFileInfo(appPath).absolutePath() + QStringLiteral("/../share/quillon/install_manifest.txt");
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
    const QString app = QFileInfo(appPath).canonicalFilePath();
    if (const QString package = owner ? owner(app) : QString(); !package.isEmpty())
        return {Kind::package, package, {}};

    QFile manifest(manifestPath(appPath));
    if (manifest.open(QIODevice::ReadOnly)) {
        QStringList files;
        bool listsApp = false;
        for (const QByteArray& line : manifest.readAll().split('\n')) {
            if (line.isEmpty())
                continue;
            const QString file = QString::fromUtf8(line);
            listsApp = listsApp || QFileInfo(file).canonicalFilePath() == app;
            files << file;
        }
        if (listsApp) {
            files << QFileInfo(manifest.fileName()).canonicalFilePath();
            return {Kind::localInstall, {}, files};
        }
    }
    return {};
}

} // namespace quillon::app
