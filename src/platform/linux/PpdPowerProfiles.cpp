#include "PpdPowerProfiles.h"

#include "DBusAsync.h"
#include "DBusTimeouts.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <array>

namespace quillon::platform::linux_ {

namespace {

struct Name {
    const char* service;
    const char* path;
};
constexpr std::array<Name, 2> kServices{{
    {"org.freedesktop.UPower.PowerProfiles", "/org/freedesktop/UPower/PowerProfiles"},
    {"net.hadess.PowerProfiles", "/net/hadess/PowerProfiles"},
}};

QDBusMessage call(std::size_t service, const QString& method, const QVariantList& args)
{
    QDBusMessage message = QDBusMessage::createMethodCall(QString::fromLatin1(kServices[service].service),
        QString::fromLatin1(kServices[service].path), QString::fromLatin1(kServices[service].service), method);
    message.setArguments(args);
    return message;
}

} // namespace

PpdPowerProfiles::PpdPowerProfiles(QDBusConnection bus, QString applicationId)
    : m_bus(std::move(bus))
    , m_applicationId(std::move(applicationId))
{
}

PpdPowerProfiles::~PpdPowerProfiles()
{
    release();
}

void PpdPowerProfiles::hold(const QString& profile, const QString& reason, Done done)
{
    holdThrough(0, profile, reason, std::move(done));
}

void PpdPowerProfiles::holdThrough(std::size_t service, const QString& profile, const QString& reason, Done done)
{
    const quint64 generation = ++m_generation;
    auto* watcher = new QDBusPendingCallWatcher(
        DBusAsync::call(m_bus, call(service, QStringLiteral("HoldProfile"), {profile, reason, m_applicationId}),
            DBusTimeouts::activatingCallMs),
        &m_calls);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_calls,
        [this, service, profile, reason, generation, done = std::move(done)](QDBusPendingCallWatcher* w) {
            w->deleteLater();
            const QDBusPendingReply<quint32> reply = *w;
            if (reply.isError()) {
                const bool absent = reply.error().type() == QDBusError::ServiceUnknown;
                if (absent && service + 1 < kServices.size() && generation == m_generation)
                    return holdThrough(service + 1, profile, reason, done);
                if (done)
                    done(false, absent ? QStringLiteral("no power profile daemon runs") : reply.error().message());
                return;
            }
            if (generation != m_generation) {
                // A newer hold or a release came first: this one is not wanted.
                DBusAsync::call(m_bus, call(service, QStringLiteral("ReleaseProfile"), {reply.value()}));
                return;
            }
            releaseCookie();
            m_heldThrough = service;
            m_cookie = reply.value();
            if (done)
                done(true, {});
        });
}

void PpdPowerProfiles::release()
{
    ++m_generation;
    releaseCookie();
}

void PpdPowerProfiles::releaseCookie()
{
    if (!m_heldThrough)
        return;
    DBusAsync::call(m_bus, call(*m_heldThrough, QStringLiteral("ReleaseProfile"), {m_cookie}));
    m_heldThrough.reset();
}

} // namespace quillon::platform::linux_
