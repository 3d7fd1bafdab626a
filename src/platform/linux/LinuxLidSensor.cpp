#include "LinuxLidSensor.h"

#include "DBusAsync.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDir>
#include <QFile>

namespace quillon::platform::linux_ {

LinuxLidSensor::LinuxLidSensor(const QDBusConnection& systemBus, QString procRoot)
    : m_bus(systemBus)
    , m_procRoot(std::move(procRoot))
{
}

std::optional<bool> LinuxLidSensor::isClosed()
{
    askLogind();
    if (m_logindSaid)
        return m_logindSaid;
    return fromAcpi();
}

void LinuxLidSensor::askLogind()
{
    if (m_asking || !m_logindAnswers || !m_bus.isConnected())
        return;
    QDBusMessage get = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    get << QStringLiteral("org.freedesktop.login1.Manager") << QStringLiteral("LidClosed");
    m_asking = true;
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, get, kCallTimeoutMs), &m_calls);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_calls, [this, watcher] {
        watcher->deleteLater();
        m_asking = false;
        logindAnswered(*watcher);
    });
}

void LinuxLidSensor::logindAnswered(const QDBusPendingCall& call)
{
    m_logindSaid.reset();
    const QDBusMessage reply = call.reply();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        // No logind, or one without the property: don't pay for the call every second.
        if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")
            || reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownProperty")
            || reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.InvalidArgs"))
            m_logindAnswers = false;
        return;
    }
    const QVariant value = reply.arguments().first().value<QDBusVariant>().variant();
    if (value.typeId() == QMetaType::Bool)
        m_logindSaid = value.toBool();
}

std::optional<bool> LinuxLidSensor::parseAcpiState(const QByteArray& text)
{
    const QByteArray line = text.simplified();
    if (!line.startsWith("state:"))
        return std::nullopt;
    const QByteArray state = line.mid(6).trimmed();
    if (state == "closed")
        return true;
    if (state == "open")
        return false;
    return std::nullopt;
}

std::optional<bool> LinuxLidSensor::fromAcpi() const
{
    const QDir lids(m_procRoot + "/proc/acpi/button/lid");
    for (const QString& lid : lids.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        QFile state(lids.filePath(lid) + "/state");
        if (state.open(QIODevice::ReadOnly)) {
            if (const auto closed = parseAcpiState(state.read(128)))
                return closed;
        }
    }
    return std::nullopt;
}

} // namespace quillon::platform::linux_
