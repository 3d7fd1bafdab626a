#pragma once

#include <QString>
#include <QStringList>

namespace quillon::ui {

// Launch at login, through an XDG autostart entry: the user's
// $XDG_CONFIG_HOME/autostart/org.quillon.Quillon.desktop starting this
// executable. Switched off, the user's entry is removed, or, when a
// system-wide entry of the same name exists ($XDG_CONFIG_DIRS/autostart),
// replaced by one with Hidden=true, which every session manager honours.
class LoginItem {
public:
    static constexpr const char* kEntryName = "org.quillon.Quillon.desktop";

    // configHome: the user's configuration directory; configDirs: the
    // system's, most important first; executable: what the entry starts.
    LoginItem(QString configHome, QStringList configDirs, QString executable);
    // For this user and this process's executable, from the XDG variables.
    static LoginItem forCurrentUser();

    // Whether the session will start the app at login.
    bool isEnabled() const;
    // Switches launch at login; true on success. On a failure the line
    // "Quillon login-item toggle failed: " and the reason are logged.
    bool setEnabled(bool on);

    QString userEntryPath() const;
    // The entry that starts executable, from the app's desktop entry.
    static QByteArray entryFor(const QString& executable);

private:
    bool systemEntryExists() const;
    bool write(const QByteArray& contents, QString& error) const;

    QString m_configHome;
    QStringList m_configDirs;
    QString m_executable;
};

} // namespace quillon::ui
