#pragma once

#include <QDBusConnection>
#include <QString>
#include <optional>
#include <string_view>

namespace quillon::daemon {

// The bus the helper serves on, from QUILLON_HELPER_BUS: "system" (also
// when unset or empty), "session", or a D-Bus address such as
// "unix:path=/tmp/test-bus". Tests and demos run the helper unprivileged on
// a session or private bus.
class HelperBus {
public:
    enum class Kind {
        system,
        session,
        address
    };

    struct Setting {
        Kind kind;
        QString address; // for Kind::address
    };

    static constexpr const char* kEnvironmentVariable = "QUILLON_HELPER_BUS";

    // nullopt when the text is none of the above (an address has a
    // "transport:" prefix).
    static std::optional<Setting> parse(std::string_view text);

    // The setting from the environment; nullopt (with error set) when unusable.
    static std::optional<Setting> fromEnvironment(QString& error);

    // Connects; check isConnected() and lastError() on the result.
    static QDBusConnection connect(const Setting& setting);

    // A short name for log lines: "system", "session" or the address.
    static QString describe(const Setting& setting);
};

} // namespace quillon::daemon
