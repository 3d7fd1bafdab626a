#include "LoginItem.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

namespace quillon::ui {

namespace {

const QString kAutostart = QStringLiteral("/autostart/");

// An Exec argument, quoted as the desktop entry format requires when it
// holds anything but plain path characters. A "%" is doubled either way:
// alone it would start a field code ("%f") that the launcher replaces.
QString execArgument(const QString& path)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_./+,:@%=-]+$"));
    QString quoted = path;
    if (!plain.match(path).hasMatch()) {
        for (const QChar c : {QLatin1Char('\\'), QLatin1Char('"'), QLatin1Char('`'), QLatin1Char('$')})
            quoted.replace(c, QStringLiteral("\\") + c);
        // In a desktop file's string value a backslash itself is escaped once more.
        quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
        quoted = QLatin1Char('"') + quoted + QLatin1Char('"');
    }
    return quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
}

bool hiddenEntry(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.startsWith("Hidden="))
            return line.mid(7).trimmed() == "true";
    }
    return false;
}

} // namespace

LoginItem::LoginItem(QString configHome, QStringList configDirs, QString executable)
    : m_configHome(std::move(configHome))
    , m_configDirs(std::move(configDirs))
    , m_executable(std::move(executable))
{
}

LoginItem LoginItem::forCurrentUser()
{
    const QString home = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    QStringList dirs = qEnvironmentVariable("XDG_CONFIG_DIRS").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (dirs.isEmpty())
        dirs = {QStringLiteral("/etc/xdg")};
    return LoginItem(home, dirs, QCoreApplication::applicationFilePath());
}

QString LoginItem::userEntryPath() const
{
    return m_configHome + kAutostart + QLatin1String(kEntryName);
}

bool LoginItem::systemEntryExists() const
{
    for (const QString& dir : m_configDirs) {
        const QString path = dir + kAutostart + QLatin1String(kEntryName);
        if (QFileInfo::exists(path))
            return !hiddenEntry(path);
    }
    return false;
}

bool LoginItem::isEnabled() const
{
    // The user's entry masks a system-wide one of the same name.
    if (QFileInfo::exists(userEntryPath()))
        return !hiddenEntry(userEntryPath());
    return systemEntryExists();
}

QByteArray LoginItem::entryFor(const QString& executable)
{
    QFile source(QStringLiteral(":/org.quillon.Quillon.desktop"));
    if (!source.open(QIODevice::ReadOnly))
        return {};
    QByteArray entry;
    while (!source.atEnd()) {
        const QByteArray line = source.readLine();
        entry += line.startsWith("Exec=") ? "Exec=" + execArgument(executable).toUtf8() + '\n' : line;
    }
    entry += "X-GNOME-Autostart-enabled=true\n";
    return entry;
}

bool LoginItem::write(const QByteArray& contents, QString& error) const
{
    if (!QDir().mkpath(m_configHome + kAutostart)) {
        error = QStringLiteral("cannot create %1").arg(m_configHome + kAutostart);
        return false;
    }
    QSaveFile file(userEntryPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.commit()) {
        error = QStringLiteral("%1: %2").arg(userEntryPath(), file.errorString());
        return false;
    }
    return true;
}

bool LoginItem::setEnabled(bool on)
{
    if (on && isEnabled())
        return true;
    QString error;
    bool done = false;
    if (on) {
        done = write(entryFor(m_executable), error);
    } else if (systemEntryExists()) {
        done = write("[Desktop Entry]\nType=Application\nName=Quillon\nHidden=true\n", error);
    } else {
        QFile entry(userEntryPath());
        done = !entry.exists() || entry.remove();
        if (!done)
            error = QStringLiteral("%1: %2").arg(userEntryPath(), entry.errorString());
    }
    if (!done)
        qWarning().noquote() << QStringLiteral("Quillon login-item toggle failed: ") + error;
    return done;
}

} // namespace quillon::ui
