#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <optional>

namespace quillon::app {

// A private folder in the user's temporary directory for the files a root
// script copies into place; it goes, with them, when this object does.
class StagingDir {
public:
    StagingDir();

    // Writes bytes to the file name inside; its path, or empty with error set.
    QString write(const QString& name, const QByteArray& bytes, QString& error);
    // Writes one of the helper's data files that ship in the app, with the
    // installed helper's path put in for its placeholder.
    QString writeFromResource(const QString& resource, const QString& name, const QString& helperPath, QString& error);

private:
    // None when the temporary directory is missing (QDir::tempPath() is then empty).
    std::optional<QTemporaryDir> m_dir;
};

} // namespace quillon::app
