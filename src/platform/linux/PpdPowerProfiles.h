#pragma once

#include "platform/PowerProfiles.h"

#include <QDBusConnection>
#include <QObject>
#include <optional>

namespace quillon::platform::linux_ {

// Holds profiles through power-profiles-daemon's HoldProfile (tuned-ppd
// serves the same interface): org.freedesktop.UPower.PowerProfiles, else
// its older name net.hadess.PowerProfiles. Never writes platform_profile
// itself: under a running profile daemon the two would fight.
class PpdPowerProfiles : public PowerProfiles {
public:
    // bus: where the daemon lives (the system bus).
    PpdPowerProfiles(QDBusConnection bus, QString applicationId);
    ~PpdPowerProfiles() override;

    void hold(const QString& profile, const QString& reason, Done done) override;
    void release() override;

private:
    struct Service {
        QString name;
        QString path;
    };
    void holdThrough(std::size_t service, const QString& profile, const QString& reason, Done done);
    void releaseCookie();

    // Parent and context of the pending calls: none outlives this object.
    QObject m_calls;
    QDBusConnection m_bus;
    QString m_applicationId;
    std::optional<std::size_t> m_heldThrough;
    quint32 m_cookie = 0;
    // Replies to older holds are released as they arrive.
    quint64 m_generation = 0;
};

} // namespace quillon::platform::linux_
