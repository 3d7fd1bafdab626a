#include "Notifier.h"

#include <utility>

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
    // Until the server has named the last reminder, a new one could not
    // replace it: it is posted once that answer is in.
    if (m_lidReminderPending) {
        m_lidReminderAgain = true;
        return;
    }
    m_lidReminderPending = true;
    const QList<platform::NotificationCenter::Action> actions{
        {QString::fromLatin1(lidOffActionID), tr("Turn off")},
        {QString::fromLatin1(lidKeepActionID), tr("Keep on")},
    };
    QPointer<Notifier> self(this);
    m_center->post(tr("☀️ Closed-lid keep-awake is still on"),
        tr("Welcome back. Keep it awake with the lid closed, or turn it off?"), actions, m_lidReminderId,
        [self](quint32 id) {
            if (!self)
                return;
            if (id != 0)
                self->m_lidReminderId = id;
            self->m_lidReminderPending = false;
            if (std::exchange(self->m_lidReminderAgain, false))
                self->notifyLidStillOn();
        });
}

void Notifier::onActionInvoked(quint32 id, const QString& actionKey)
{
    if (id != 0 && id == m_lidReminderId && actionKey == QLatin1String(lidOffActionID) && onLidReminderDisable)
        onLidReminderDisable();
}

} // namespace quillon::app
