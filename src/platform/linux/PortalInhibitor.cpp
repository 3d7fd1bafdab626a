#include "PortalInhibitor.h"

#include "DBusTimeouts.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QTimer>
#include <QVariantMap>
#include <atomic>

namespace quillon::platform::linux_ {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");

class PortalRequest : public Inhibitor::Held {
    Q_OBJECT
public:
    PortalRequest(QDBusConnection bus, QString handle)
        : m_bus(std::move(bus))
        , m_handle(std::move(handle))
    {
        listen(true);
    }
    ~PortalRequest() override
    {
        listen(false);
        // Fire and forget: a portal that is gone has dropped the request
        // already, and one still busy with the call reads this after it.
        m_bus.send(QDBusMessage::createMethodCall(kService, m_handle, kRequest, QStringLiteral("Close")));
    }

    // The handle the portal will use, which the signal must be bound to
    // before the call goes out: .../request/<our unique name>/<token>.
    static QString expectedHandle(const QDBusConnection& bus, const QString& token)
    {
        QString sender = bus.baseService().mid(1);
        sender.replace(u'.', u'_');
        return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
    }

    void take(const QDBusMessage& call, int answerMs)
    {
        ask(m_bus, call, DBusTimeouts::activatingCallMs, [this, answerMs](const QDBusMessage& reply) {
            const QString handle = reply.arguments().value(0).value<QDBusObjectPath>().path();
            if (handle.isEmpty()) {
                settle(Phase::failed, QStringLiteral("the portal answered without a request"));
                return;
            }
            if (handle != m_handle) { // an old portal's own handle
                listen(false);
                m_handle = handle;
                listen(true);
            }
            QTimer::singleShot(answerMs, this, [this] {
                settle(Phase::failed,
                    QStringLiteral("the portal never answered (inhibiting may be switched off in its permissions)"));
            });
        });
    }

private slots:
    void onResponse(quint32 response, const QVariantMap&)
    {
        if (response == 0)
            leaveUnconfirmed(QStringLiteral("the portal accepted it, but its backend answers before acting and "
                                            "cannot be asked whether it holds"));
        else
            settle(Phase::failed,
                response == 1 ? QStringLiteral("the portal's request was cancelled")
                              : QStringLiteral("the portal's backend could not inhibit"));
    }

private:
    void listen(bool on)
    {
        const QString signal = QStringLiteral("Response");
        const char* slot = SLOT(onResponse(quint32, QVariantMap));
        if (on)
            m_bus.connect(kService, m_handle, kRequest, signal, this, slot);
        else
            m_bus.disconnect(kService, m_handle, kRequest, signal, this, slot);
    }

    QDBusConnection m_bus;
    QString m_handle;
};

} // namespace

PortalInhibitor::PortalInhibitor(QDBusConnection sessionBus, quint32 flags, int answerMs)
    : m_bus(std::move(sessionBus))
    , m_flags(flags)
    , m_answerMs(answerMs)
{
}

QString PortalInhibitor::through() const
{
    const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").section(u':', 0, 0);
    return desktop.isEmpty() ? QStringLiteral("portal") : QStringLiteral("portal (%1)").arg(desktop);
}

std::unique_ptr<Inhibitor::Held> PortalInhibitor::inhibit(const QString& reason)
{
    // The portal refuses a token that names a request still open on this
    // connection, and every inhibitor of the process shares the connection.
    static std::atomic<quint32> lastToken{0};
    const QString token = QStringLiteral("quillon%1").arg(++lastToken);
    // Listens before asking, so that an early Response is not missed.
    auto held = std::make_unique<PortalRequest>(m_bus, PortalRequest::expectedHandle(m_bus, token));
    QDBusMessage call = QDBusMessage::createMethodCall(kService, QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
    call << QString() << m_flags
         << QVariantMap{{QStringLiteral("handle_token"), token}, {QStringLiteral("reason"), reason}};
    held->take(call, m_answerMs);
    return held;
}

} // namespace quillon::platform::linux_

#include "PortalInhibitor.moc"
