#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace quillon::test {

// Writes bytes to path, making its folder first; whether that worked.
inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

// Everything in the file; empty when it cannot be read.
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace quillon::test
