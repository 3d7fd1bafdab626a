#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>

namespace quillon::platform::linux_ {

// A logind block inhibitor lock on the system bus: logind hands back a file
// descriptor, and the lock lasts exactly as long as that descriptor is open
// (so it also ends with the process).
//
// what is logind's colon list. For keeping the system awake we take
// "idle:sleep": "idle" holds off logind's own idle action, "sleep" makes
// logind refuse the suspend a power manager asks for when the machine sits
// idle. Lid handling is not affected (that is the helper's lock).
class LogindInhibitor : public Inhibitor {
public:
    LogindInhibitor(QDBusConnection systemBus, QString what);

    std::unique_ptr<Held> inhibit(const QString& reason) override;

private:
    QDBusConnection m_bus;
    QString m_what;
};

} // namespace quillon::platform::linux_
