#include "StagingDir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace quillon::app {

StagingDir::StagingDir()
{
    const QString tmp = QDir::tempPath();
    if (!tmp.isEmpty() && QFileInfo(tmp).isDir())
        m_dir.emplace(tmp + QStringLiteral("/quillon-install-XXXXXX"));
}

QString StagingDir::write(const QString& name, const QByteArray& bytes, QString& error)
{
    if (!m_dir) {
        error = QStringLiteral("Could not create a temporary folder: %1 is no folder")
                    .arg(qEnvironmentVariable("TMPDIR", QStringLiteral("/tmp")));
        return {};
    }
    if (!m_dir->isValid()) {
        error = QStringLiteral("Could not create a temporary folder in %1: %2")
                    .arg(QDir::tempPath(), m_dir->errorString());
        return {};
    }
    QSaveFile file(m_dir->filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        error = QStringLiteral("Could not write %1: %2").arg(file.fileName(), file.errorString());
        return {};
    }
    return file.fileName();
}

QString StagingDir::writeFromResource(
    const QString& resource, const QString& name, const QString& helperPath, QString& error)
{
    QFile source(QStringLiteral(":/helper-files/") + resource);
    if (!source.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("The app carries no %1").arg(resource);
        return {};
    }
    QByteArray text = source.readAll();
    text.replace("@QUILLON_HELPER_INSTALL_PATH@", helperPath.toUtf8());
    return write(name, text, error);
}

} // namespace quillon::app
