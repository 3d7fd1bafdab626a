#pragma once

#include "platform/LidSensor.h"

#include <QDBusConnection>
#include <QString>

namespace quillon::platform::linux_ {

// The lid from logind's LidClosed property (system bus; logind sends no change
// signal for it, hence the polling), or, without logind, from the ACPI
// button's /proc/acpi/button/lid/*/state. A machine with neither has no lid.
class LinuxLidSensor : public platform::LidSensor {
public:
    // A short timeout: the poll runs on the main thread every second.
    static constexpr int kCallTimeoutMs = 300;

    explicit LinuxLidSensor(const QDBusConnection& systemBus = QDBusConnection::systemBus(),
        QString procRoot = QStringLiteral("/"));

    std::optional<bool> isClosed() override;

    // "state:      closed" -> true, "state:      open" -> false, else none.
    static std::optional<bool> parseAcpiState(const QByteArray& text);

private:
    std::optional<bool> fromLogind();
    std::optional<bool> fromAcpi() const;

    QDBusConnection m_bus;
    QString m_procRoot;
    bool m_logindAnswers = true; // stop asking once logind has said it has no such property
};

} // namespace quillon::platform::linux_
