#pragma once

#include "CallerAuthorization.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <array>
#include <cstddef>
#include <optional>

namespace quillon::daemon {

// Who sent a D-Bus call: the sender's unique name and the uid the bus daemon
// vouches for (never anything the caller says about itself). Unique names
// are never reused while a bus runs, so the answers of the last few senders
// are kept and a polling app costs the bus daemon one question, not one per
// poll.
class BusCallerIdentity {
public:
    static constexpr std::size_t kRemembered = 16;

    // nullopt when the bus cannot say (the sender is already gone).
    std::optional<CallerAuthorization::Caller> of(const QDBusConnection& bus, const QDBusMessage& message);

private:
    struct Entry {
        QString busName;
        std::uint32_t uid = 0;
    };
    std::array<Entry, kRemembered> m_entries;
    std::size_t m_next = 0;
};

} // namespace quillon::daemon
