#include "RootScript.h"

#include "HelperLayout.h"

#include "daemon/HelperNames.h"

namespace quillon::app {

QString RootScript::quote(const QString& path)
{
    QString inner = path;
    inner.replace(QLatin1Char('\''), QStringLiteral("'\"'\"'"));
    return QLatin1Char('\'') + inner + QLatin1Char('\'');
}

QString RootScript::join(const QStringList& lines)
{
    return lines.join(QLatin1Char('\n'));
}

QString RootScript::busCall(const QString& method, const QString& argument)
{
    QString call
        = QStringLiteral("dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                         "org.freedesktop.DBus.")
        + method;
    if (!argument.isEmpty())
        call += QLatin1Char(' ') + argument;
    return call;
}

QString RootScript::unitCommand(const HelperLayout& layout, const QString& verb)
{
    return quote(layout.systemctl()) + QLatin1Char(' ') + verb + QLatin1Char(' ') + HelperLayout::unitName()
        + QStringLiteral(" 2>/dev/null || true");
}

QStringList RootScript::reload(const HelperLayout& layout)
{
    const QString systemctl = quote(layout.systemctl());
    return {
        systemctl + QStringLiteral(" daemon-reload 2>/dev/null || true"),
        busCall(QStringLiteral("ReloadConfig")) + QStringLiteral(" >/dev/null 2>&1 || true"),
    };
}

QStringList RootScript::stopHelper(const HelperLayout& layout)
{
    const QString name = QString::fromLatin1(daemon::HelperNames::kService);
    return {
        unitCommand(layout, QStringLiteral("stop")),
        QStringLiteral("pid=$(")
            + busCall(QStringLiteral("GetConnectionUnixProcessID"), QStringLiteral("string:") + name)
            + QStringLiteral(" 2>/dev/null | awk '{print $2}') || true"),
        QStringLiteral("if [ -n \"$pid\" ]; then"),
        QStringLiteral("    kill \"$pid\" 2>/dev/null || true"),
        QStringLiteral("    n=0"),
        QStringLiteral("    while kill -0 \"$pid\" 2>/dev/null && [ \"$n\" -lt 50 ]; do sleep 0.1; n=$((n + 1)); done"),
        QStringLiteral("fi"),
    };
}

} // namespace quillon::app
