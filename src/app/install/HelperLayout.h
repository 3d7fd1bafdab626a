#pragma once

#include <QString>
#include <QStringList>

namespace quillon::app {

// Where a local install puts the fan helper: the directories each part of the
// system reads for software the administrator installed (the helper under
// /usr/local/libexec, the unit where systemd looks for local units, the bus
// policy under /etc, the activation file under /usr/local/share; polkit reads
// actions from /usr/share only). The Debian package uses the /usr paths
// instead and is not managed here.
class HelperLayout {
public:
    // root: "/" for the system; tests put everything under a directory of theirs.
    // systemctl: the service manager's command (tests use a stand-in).
    explicit HelperLayout(QString root = QStringLiteral("/"), QString systemctl = QStringLiteral("systemctl"));

    QString helperDir() const;
    QString helperPath() const;
    QString unitPath() const;
    QString busPolicyPath() const;
    QString activationPath() const;
    QString polkitActionsPath() const;
    // Every file an install puts down, the helper first.
    QStringList files() const;
    const QString& systemctl() const { return m_systemctl; }
    // Whether the paths can go into the unit and the activation file as they
    // are: no white space, quotes, backslashes or specifiers there.
    bool pathsArePlain() const;

    static QString unitName();

private:
    QString under(const QString& path) const;

    QString m_root;
    QString m_systemctl;
};

} // namespace quillon::app
