#pragma once

#include "support/Files.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <filesystem>

namespace quillon::test {

// A writable copy of a captured sysfs tree under tests/fixtures, for cases
// that differ from a capture in a value or two. Symbolic links (the
// /sys/class entries) are copied as links, with their relative targets.
class CapturedTree {
public:
    // fixture: a path below tests/fixtures, e.g. "power_supply/laptop-discharging".
    explicit CapturedTree(const QString& fixture)
    {
        const QDir source(QStringLiteral(QUILLON_FIXTURES "/") + fixture);
        QDirIterator it(
            source.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString from = it.next();
            const QString to = path(source.relativeFilePath(from));
            if (it.fileInfo().isSymLink()) {
                QDir().mkpath(QFileInfo(to).path());
                std::error_code error;
                std::filesystem::create_symlink(
                    std::filesystem::read_symlink(from.toStdString(), error), to.toStdString(), error);
            } else if (it.fileInfo().isDir())
                QDir().mkpath(to);
            else
                QFile::copy(from, to);
        }
    }

    QString root() const { return m_dir.path(); }
    QString path(const QString& relative) const { return m_dir.filePath(relative); }

    // Writes "value\n" to relative (creating its directory), as sysfs shows it.
    void set(const QString& relative, const QByteArray& value) const { writeFile(path(relative), value + '\n'); }
    void remove(const QString& relative) const
    {
        QFile::remove(path(relative));
        QDir(path(relative)).removeRecursively();
    }

private:
    QTemporaryDir m_dir;
};

} // namespace quillon::test
