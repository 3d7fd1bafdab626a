#include "CallerAdmission.h"

#include "platform/linux/DBusAsync.h"
#include "platform/linux/DBusTimeouts.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace quillon::ui {

CallerAdmission::CallerAdmission(uid_t servedUid, QObject* parent)
    : QObject(parent)
    , m_servedUid(servedUid)
{
}

void CallerAdmission::trust(const QString& uniqueName)
{
    m_trusted = uniqueName;
    m_callers.insert(uniqueName, true);
}

CallerAdmission::Verdict CallerAdmission::verdict(const QString& caller) const
{
    const auto known = m_callers.constFind(caller);
    if (known == m_callers.cend())
        return Verdict::unknown;
    return *known ? Verdict::served : Verdict::refused;
}

void CallerAdmission::ask(QDBusConnection bus, const QDBusMessage& call, std::function<void(bool served)> done)
{
    const QDBusMessage question = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                      QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
                                      QStringLiteral("GetConnectionUnixUser"))
        << call.service();
    auto* watcher = new QDBusPendingCallWatcher(
        platform::linux_::DBusAsync::call(bus, question, platform::linux_::DBusTimeouts::callMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, caller = call.service(), done = std::move(done)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusPendingReply<uint> uid = *finished;
            const bool own = !uid.isError() && uid.value() == m_servedUid;
            if (m_callers.size() >= kMaxCallers)
                m_callers.removeIf([this](auto entry) { return entry.key() != m_trusted; });
            m_callers.insert(caller, own);
            done(own);
        });
}

QString CallerAdmission::refusal()
{
    return QStringLiteral("Quillon serves only the user it runs as");
}

} // namespace quillon::ui
