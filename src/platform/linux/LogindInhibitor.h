#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>

namespace quillon::platform::linux_ {

// A logind block inhibitor lock on the system bus: logind hands back a file
// descriptor, and the lock lasts exactly as long as that descriptor is open
// (so it also ends with the process). It counts once logind lists it.
//
// what is logind's colon list. "idle" holds off logind's own idle action and
// every idle daemon that watches logind's BlockInhibited (swayidle,
// hypridle); "sleep" makes logind refuse a suspend that another user's
// process asks for. Lid handling is not affected (that is the lid lock).
class LogindInhibitor : public Inhibitor {
public:
    // ignoredBy names what acts here without looking at logind's locks
    // (LXQt's idle watcher, the X server's blanking): the lock is then taken
    // and listed, yet does not hold, and fails with that reason.
    LogindInhibitor(QDBusConnection systemBus, QString what, QString ignoredBy = {});

    static QString service() { return QStringLiteral("org.freedesktop.login1"); }

    QString through() const override { return QStringLiteral("logind"); }
    QString serviceName() const override { return service(); }
    // logind takes its locks back from their FIFOs when it starts again.
    bool keepsHeldOverRestart() const override { return true; }
    std::unique_ptr<Held> inhibit(const QString& reason) override;

private:
    QDBusConnection m_bus;
    QString m_what;
    QString m_ignoredBy;
};

} // namespace quillon::platform::linux_
