#include "PolkitDBusAuthority.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace quillon::daemon {

namespace {

constexpr uint kAllowUserInteraction = 0x1;

// polkit's subject: ("system-bus-name", {"name": <":1.42">}).
QDBusArgument busNameSubject(const QString& busName)
{
    QDBusArgument subject;
    subject.beginStructure();
    subject << QStringLiteral("system-bus-name");
    subject.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QDBusVariant>());
    subject.beginMapEntry();
    subject << QStringLiteral("name") << QDBusVariant(busName);
    subject.endMapEntry();
    subject.endMap();
    subject.endStructure();
    return subject;
}

QDBusArgument noDetails()
{
    QDBusArgument details;
    details.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QString>());
    details.endMap();
    return details;
}

// The reply's (bba{ss}): is_authorized, is_challenge, details.
PolkitAuthority::Answer answerOf(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage)
        return {false, (reply.errorName() + ": " + reply.errorMessage()).toStdString()};
    if (reply.signature() != QLatin1String("(bba{ss})"))
        return {false, "unexpected reply from polkit: " + reply.signature().toStdString()};
    const auto result = reply.arguments().constFirst().value<QDBusArgument>();
    bool authorized = false;
    bool challenge = false;
    result.beginStructure();
    result >> authorized >> challenge;
    result.endStructure();
    return {authorized, {}};
}

} // namespace

PolkitDBusAuthority::PolkitDBusAuthority(QDBusConnection systemBus)
    : m_bus(std::move(systemBus))
{
}

void PolkitDBusAuthority::check(const std::string& busName, std::string_view actionId, Callback done)
{
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.PolicyKit1",
        "/org/freedesktop/PolicyKit1/Authority", "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization");
    call << QVariant::fromValue(busNameSubject(QString::fromStdString(busName)))
         << QString::fromUtf8(actionId.data(), static_cast<qsizetype>(actionId.size()))
         << QVariant::fromValue(noDetails()) << kAllowUserInteraction << QString();

    // A watcher delivers even an immediate failure from the event loop, so
    // done never runs before check() has returned.
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, kCallTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
        [done = std::move(done)](QDBusPendingCallWatcher* finished) {
            done(answerOf(finished->reply()));
            finished->deleteLater();
        });
}

} // namespace quillon::daemon
