#include "PrivateBus.h"

#include <QElapsedTimer>
#include <QFile>
#include <atomic>

namespace quillon::test {

namespace {

// The system bus's defaults (see /usr/share/dbus-1/system.conf).
const char* const kSystemLikePolicy = R"(
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>)";

const char* const kOpenPolicy = R"(
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>)";

} // namespace

PrivateBus::PrivateBus(const QString& extraConfig, bool systemLike)
{
    // Other uids must reach the socket inside.
    QFile::setPermissions(m_dir.path(), QFile::permissions(m_dir.path()) | QFile::ReadOther | QFile::ExeOther);
    QFile config(m_dir.path() + "/bus.conf");
    if (!config.open(QIODevice::WriteOnly))
        return;
    config.write(QStringLiteral(R"(<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <limit name="max_replies_per_connection">50000</limit>
  <policy context="default"><allow user="*"/>%2</policy>
  %3
</busconfig>)")
                     .arg(m_dir.path(), QLatin1String(systemLike ? kSystemLikePolicy : kOpenPolicy), extraConfig)
                     .toUtf8());
    config.close();
    m_process.start("dbus-daemon", {"--config-file=" + config.fileName(), "--nofork", "--print-address=1"});
    QElapsedTimer timer;
    timer.start();
    while (m_process.waitForStarted(5000) && !m_process.canReadLine() && timer.elapsed() < 5000)
        m_process.waitForReadyRead(100);
    m_address = QString::fromUtf8(m_process.readLine()).trimmed();
}

PrivateBus::~PrivateBus()
{
    if (!m_connectionName.isEmpty())
        QDBusConnection::disconnectFromBus(m_connectionName);
    m_process.terminate();
    if (!m_process.waitForFinished(5000))
        kill();
}

QDBusConnection PrivateBus::connection()
{
    if (m_connectionName.isEmpty()) {
        static std::atomic<int> serial{0};
        m_connectionName = QStringLiteral("quillon-test-bus-%1").arg(++serial);
        return QDBusConnection::connectToBus(m_address, m_connectionName);
    }
    return QDBusConnection(m_connectionName);
}

void PrivateBus::kill()
{
    m_process.kill();
    m_process.waitForFinished(5000);
}

} // namespace quillon::test
