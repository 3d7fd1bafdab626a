#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace quillon::platform {

// The desktop's notification service, as small as the Notifier needs it.
class NotificationCenter : public QObject {
    Q_OBJECT
public:
    struct Action {
        QString key;   // reported back by actionInvoked()
        QString label; // the button text
    };

    using QObject::QObject;

    // Whether a notification service is there to show anything (checked
    // afresh on each call; cheap).
    virtual bool available() = 0;

    // Shows a notification now, with a sound. replacesId (0 = none) names an
    // earlier notification of ours to replace. posted, when given, later
    // receives the notification's id (0 when nothing could be shown).
    virtual void post(const QString& title, const QString& body, const QList<Action>& actions, quint32 replacesId,
        std::function<void(quint32 id)> posted = {})
        = 0;

signals:
    // The user chose an action on one of our notifications.
    void actionInvoked(quint32 id, const QString& actionKey);
};

} // namespace quillon::platform
