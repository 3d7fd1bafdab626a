#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace quillon::test {

// A dbus-daemon of our own for one test, which any local uid may connect to.
// It activates nothing, so the services a test starts are the only ones there.
// extraConfig goes into its configuration (policies, <include>s); systemLike
// denies owning names and calling methods by default, as the system bus does.
class PrivateBus {
public:
    explicit PrivateBus(const QString& extraConfig = {}, bool systemLike = false);
    ~PrivateBus();

    bool ready() const { return !m_address.isEmpty(); }
    const QString& address() const { return m_address; }
    // The test process's own connection, opened on first use (once an
    // application object exists) and closed before the daemon stops.
    QDBusConnection connection();
    void kill();
    qint64 pid() const { return m_process.processId(); }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QString m_address;
    QString m_connectionName;
};

} // namespace quillon::test
