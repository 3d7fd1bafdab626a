#include "DBusHelperLink.h"

#include "FanHelperProxy.h"

#include "daemon/HelperNames.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

namespace quillon::app {

namespace {
const QString kService = QString::fromLatin1(daemon::HelperNames::kService);
const QString kPath = QString::fromLatin1(daemon::HelperNames::kObjectPath);

bool isTimeout(const QDBusError& error)
{
    return error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout
        || error.type() == QDBusError::TimedOut;
}
} // namespace

DBusHelperLink::DBusHelperLink(const QDBusConnection& bus, int callTimeoutMs, QObject* parent)
    : HelperLink(parent)
    , m_bus(bus)
    , m_callTimeoutMs(callTimeoutMs)
{
}

DBusHelperLink::~DBusHelperLink() = default;

bool DBusHelperLink::helperAvailable()
{
    QDBusConnectionInterface* bus = m_bus.isConnected() ? m_bus.interface() : nullptr;
    if (!bus)
        return false;
    return bus->isServiceRegistered(kService).value() || bus->activatableServiceNames().value().contains(kService);
}

void DBusHelperLink::connectIfNeeded()
{
    if (m_proxy || !m_bus.isConnected())
        return;
    ++m_generation;
    m_everOpened = true;
    m_proxy = std::make_unique<FanHelperProxy>(kService, kPath, m_bus);
    m_proxy->setTimeout(m_callTimeoutMs);
    watchName();
    requestStatus(this, [this](const QVariantMap& status) { emit statusArrived(status); });
}

void DBusHelperLink::watchName()
{
    // One watcher for the link's life: it also has to see the name come back.
    if (m_watcher)
        return;
    m_watcher = std::make_unique<QDBusServiceWatcher>(kService, m_bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(m_watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this, &DBusHelperLink::onOwnerChanged);
}

void DBusHelperLink::invalidate()
{
    m_proxy.reset();
    m_statusPending = false;
}

void DBusHelperLink::onOwnerChanged(const QString&, const QString& oldOwner, const QString& newOwner)
{
    if (newOwner.isEmpty()) {
        if (!m_proxy)
            return;
        invalidate();
        emit connectionLost();
    } else if (m_proxy) {
        if (!oldOwner.isEmpty())
            emit connectionInterrupted();
    } else if (m_everOpened) {
        connectIfNeeded();
        emit connectionRestored();
    }
}

void DBusHelperLink::failed(quint64 generation, const QDBusError& error)
{
    if (generation != m_generation || !m_proxy)
        return;
    if (isTimeout(error)) {
        emit requestSlow();
        return;
    }
    invalidate();
    emit requestFailed(error.message());
}

void DBusHelperLink::getStatus(QObject* context, StatusReply reply)
{
    requestStatus(context, std::move(reply));
}

void DBusHelperLink::requestStatus(QObject* context, StatusReply reply)
{
    if (!m_proxy || m_statusPending)
        return;
    m_statusPending = true;
    const quint64 generation = m_generation;
    auto* watcher = new QDBusPendingCallWatcher(m_proxy->GetStatus(), this);
    QPointer<QObject> guard(context);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [=, this](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        if (generation == m_generation)
            m_statusPending = false;
        const QDBusPendingReply<QVariantMap> answer = *w;
        if (answer.isError()) {
            failed(generation, answer.error());
            return;
        }
        if (guard)
            reply(plainStatus(answer.value()));
    });
}

template <typename Call> void DBusHelperLink::boolTextCall(Call call, QObject* context, Reply reply)
{
    if (!m_proxy)
        return;
    const quint64 generation = m_generation;
    auto* watcher = new QDBusPendingCallWatcher(call(*m_proxy), this);
    QPointer<QObject> guard(context);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [=, this](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        const QDBusPendingReply<bool, QString> answer = *w;
        if (answer.isError()) {
            // A slow helper's answer is unknown: the caller learns it failed
            // for now, and the next status shows what is in force.
            failed(generation, answer.error());
            if (isTimeout(answer.error()) && guard)
                reply(false, answer.error().message());
            return;
        }
        if (guard)
            reply(answer.argumentAt<0>(), answer.argumentAt<1>());
    });
}

void DBusHelperLink::setFanFloor(double percent, QObject* context, Reply reply)
{
    boolTextCall([percent](FanHelperProxy& p) { return p.SetFanFloor(percent); }, context, std::move(reply));
}

void DBusHelperLink::stopBoost(QObject* context, Reply reply)
{
    boolTextCall([](FanHelperProxy& p) { return p.StopBoost(); }, context, std::move(reply));
}

void DBusHelperLink::setLidStayAwake(bool on, QObject* context, Reply reply)
{
    boolTextCall([on](FanHelperProxy& p) { return p.SetLidStayAwake(on); }, context, std::move(reply));
}

QVariantMap DBusHelperLink::plainStatus(const QVariantMap& status)
{
    QVariantMap plain = status;
    const QVariant fans = status.value(QStringLiteral("fans"));
    if (fans.userType() != qMetaTypeId<QDBusArgument>())
        return plain;
    const QDBusArgument argument = fans.value<QDBusArgument>();
    // Anything but a list of dictionaries is no fan list: drop it, as if the helper had sent none.
    if (argument.currentSignature() != QLatin1String("aa{sv}")) {
        plain.remove(QStringLiteral("fans"));
        return plain;
    }
    QVariantList list;
    for (const QVariantMap& fan : qdbus_cast<QList<QVariantMap>>(argument))
        list.append(fan);
    plain.insert(QStringLiteral("fans"), list);
    return plain;
}

} // namespace quillon::app
