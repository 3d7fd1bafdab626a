#pragma once

#include "platform/NotificationCenter.h"

#include <QObject>
#include <QPointer>
#include <functional>

namespace quillon::app {

// Posts the app's notifications: plain ones for the models (heat, boost end,
// keep-awake end, render reports) and the actionable reminder that closed-lid
// keep-awake is still on. Silent when there is no notification service.
// Main thread only.
class Notifier : public QObject {
    Q_OBJECT
public:
    static constexpr const char* lidCategoryID = "LID_REMINDER";
    static constexpr const char* lidOffActionID = "LID_OFF";
    static constexpr const char* lidKeepActionID = "LID_KEEP";

    // center may be null: then nothing is ever shown.
    explicit Notifier(platform::NotificationCenter* center, QObject* parent = nullptr);

    // Desktop notification services need no permission; kept so callers read
    // the same everywhere.
    void requestAuthorizationIfNeeded() { }

    void notify(const QString& title, const QString& body);
    // The closed-lid reminder with "Turn off" / "Keep on"; a newer reminder
    // replaces the one before it, also when it comes before the server has
    // answered the last one.
    void notifyLidStillOn();

    // Runs when the user picks "Turn off" on the lid reminder.
    std::function<void()> onLidReminderDisable;

private:
    void onActionInvoked(quint32 id, const QString& actionKey);

    QPointer<platform::NotificationCenter> m_center;
    quint32 m_lidReminderId = 0;
    bool m_lidReminderPending = false;
    bool m_lidReminderAgain = false;
};

} // namespace quillon::app
