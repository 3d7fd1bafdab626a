#include "Notifier.h"

namespace quillon::app {

Notifier::Notifier(platform::NotificationCenter* center, QObject* parent)
    : QObject(parent)
    , m_center(center)
{
    if (m_center)
        connect(m_center, &platform::NotificationCenter::actionInvoked, this, &Notifier::onActionInvoked);
}

void Notifier::notify(const QString& title, const QString& body)
{
    if (m_center && m_center->available())
        m_center->post(title, body, {}, 0);
}

void Notifier::notifyLidStillOn()
{
    if (!m_center || !m_center->available())
        return;
    const QList<platform::NotificationCenter::Action> actions{
        {QString::fromLatin1(lidOffActionID), tr("Turn off")},
        {QString::fromLatin1(lidKeepActionID), tr("Keep on")},
    };
    QPointer<Notifier> self(this);
    m_center->post(tr("☀️ Closed-lid keep-awake is still on"),
        tr("Welcome back. Keep it awake with the lid closed, or turn it off?"), actions, m_lidReminderId,
        [self](quint32 id) {
            if (self && id != 0)
                self->m_lidReminderId = id;
        });
}

void Notifier::onActionInvoked(quint32 id, const QString& actionKey)
{
    if (id != 0 && id == m_lidReminderId && actionKey == QLatin1String(lidOffActionID) && onLidReminderDisable)
        onLidReminderDisable();
}

} // namespace quillon::app
