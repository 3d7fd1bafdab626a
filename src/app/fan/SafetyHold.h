#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace quillon::app {

class Notifier;

// What the app does after the helper let go of the fans for safety (heat,
// lost sensors): it holds its floor back, for sending it again would only
// make the helper let go again, until the helper has seen the cause gone for
// kClearSeconds or the user asks again (clear()). Also follows the helper's
// "release pending" (it could not verify handing the fans back), with a
// notification when that begins. notifier may be null. Main thread only.
class SafetyHold : public QObject {
    Q_OBJECT
public:
    static constexpr double kClearSeconds = 30.0;

    explicit SafetyHold(Notifier* notifier, QObject* parent = nullptr);

    // Why the floor is held back ("critical-heat", "no-readings",
    // "no-sensors"); empty when it is not.
    QString reason() const { return m_reason; }
    bool releasePending() const { return m_releasePending; }

    // One helper status. targetPercent: the floor the app holds; helperLetGo:
    // this status shows the helper dropped that floor. Whether the floor
    // must be sent again now, because a hold just ended on a floor the
    // helper no longer holds and did not just drop.
    bool apply(const QVariantMap& status, bool helperLetGo, double targetPercent);
    // Ends a hold: the user asked again.
    void clear() { setReason(QString()); }

signals:
    void changed();
    // A hold begins: nothing is spinning up any more. Comes before changed().
    void started();

private:
    void setReason(const QString& reason);

    Notifier* m_notifier;
    QString m_reason;
    bool m_releasePending = false;
};

} // namespace quillon::app
