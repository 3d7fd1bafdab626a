#include "HelperBus.h"

#include <cstdlib>

namespace quillon::daemon {

std::optional<HelperBus::Setting> HelperBus::parse(std::string_view text)
{
    if (text.empty() || text == "system")
        return Setting{Kind::system, {}};
    if (text == "session")
        return Setting{Kind::session, {}};
    const auto colon = text.find(':');
    if (colon != std::string_view::npos && colon > 0 && colon + 1 < text.size())
        return Setting{Kind::address, QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))};
    return std::nullopt;
}

std::optional<HelperBus::Setting> HelperBus::fromEnvironment(QString& error)
{
    const char* value = std::getenv(kEnvironmentVariable);
    std::optional<Setting> setting = parse(value ? value : "");
    if (!setting) {
        error = QStringLiteral("%1=%2 is not understood; use system, session or a D-Bus address")
                    .arg(QLatin1String(kEnvironmentVariable), QString::fromUtf8(value));
    }
    return setting;
}

QDBusConnection HelperBus::connect(const Setting& setting)
{
    switch (setting.kind) {
    case Kind::system:
        return QDBusConnection::systemBus();
    case Kind::session:
        return QDBusConnection::sessionBus();
    case Kind::address:
        break;
    }
    return QDBusConnection::connectToBus(setting.address, QStringLiteral("quillon-helper"));
}

QString HelperBus::describe(const Setting& setting)
{
    switch (setting.kind) {
    case Kind::system:
        return QStringLiteral("system");
    case Kind::session:
        return QStringLiteral("session");
    case Kind::address:
        break;
    }
    return setting.address;
}

} // namespace quillon::daemon
