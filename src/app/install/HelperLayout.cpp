#include "HelperLayout.h"

#include "daemon/HelperNames.h"

#include <QRegularExpression>

namespace quillon::app {

namespace {
const QString kName = QString::fromLatin1(daemon::HelperNames::kService);
}

HelperLayout::HelperLayout(QString root, QString systemctl)
    : m_root(std::move(root))
    , m_systemctl(std::move(systemctl))
{
    while (m_root.endsWith(QLatin1Char('/')))
        m_root.chop(1);
}

QString HelperLayout::under(const QString& path) const
{
    return m_root + path;
}

QString HelperLayout::unitName()
{
    return kName + QStringLiteral(".service");
}

QString HelperLayout::helperDir() const
{
    return under(QStringLiteral("/usr/local/libexec/quillon"));
}

QString HelperLayout::helperPath() const
{
    return helperDir() + QStringLiteral("/quillon-helper");
}

QString HelperLayout::unitPath() const
{
    return under(QStringLiteral("/usr/local/lib/systemd/system/")) + unitName();
}

QString HelperLayout::busPolicyPath() const
{
    return under(QStringLiteral("/etc/dbus-1/system.d/")) + kName + QStringLiteral(".conf");
}

QString HelperLayout::activationPath() const
{
    return under(QStringLiteral("/usr/local/share/dbus-1/system-services/")) + kName + QStringLiteral(".service");
}

QString HelperLayout::polkitActionsPath() const
{
    return under(QStringLiteral("/usr/share/polkit-1/actions/")) + kName + QStringLiteral(".policy");
}

QStringList HelperLayout::files() const
{
    return {helperPath(), unitPath(), busPolicyPath(), activationPath(), polkitActionsPath()};
}

bool HelperLayout::pathsArePlain() const
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_./+,:@=-]*$"));
    return plain.match(m_root).hasMatch();
}

} // namespace quillon::app
