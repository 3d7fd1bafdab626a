#pragma once

#include "platform/LidSensor.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QObject>
#include <QString>

namespace quillon::platform::linux_ {

// The lid from logind's LidClosed property (system bus; logind sends no change
// signal for it, hence the polling), or, without logind, from the ACPI
// button's /proc/acpi/button/lid/*/state. A machine with neither has no lid.
//
// isClosed() never waits for logind: it answers from logind's last reply and
// asks again in the background, one call at a time, so each reading is at
// most one poll old. Until logind has answered, after a failed or timed-out
// call, and where logind has no such property, the ACPI button answers.
class LinuxLidSensor : public platform::LidSensor {
public:
    // A hung logind stops counting as a reading within one poll.
    static constexpr int kCallTimeoutMs = 1000;

    explicit LinuxLidSensor(const QDBusConnection& systemBus = QDBusConnection::systemBus(),
        QString procRoot = QStringLiteral("/"));

    std::optional<bool> isClosed() override;

    // "state:      closed" -> true, "state:      open" -> false, else none.
    static std::optional<bool> parseAcpiState(const QByteArray& text);

private:
    void askLogind();
    void logindAnswered(const QDBusPendingCall& call);
    std::optional<bool> fromAcpi() const;

    QDBusConnection m_bus;
    QString m_procRoot;
    bool m_logindAnswers = true; // stop asking once logind has said it has no such property
    bool m_asking = false;
    std::optional<bool> m_logindSaid; // the last reply, none after a failed call
    QObject m_calls; // the watchers of calls under way go with the sensor
};

} // namespace quillon::platform::linux_
