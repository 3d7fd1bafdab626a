#pragma once

#include "app/Notifier.h"
#include "app/Settings.h"
#include "platform/Clock.h"
#include "platform/NotificationCenter.h"
#include "platform/ThermalPressure.h"

#include "support/FakeHelperLink.h"

#include <QList>
#include <QTemporaryDir>

namespace quillon::test {

// A clock that moves only when the test says so.
class FakeClock : public platform::Clock {
public:
    QDateTime now() const override { return m_now; }
    void advance(double seconds) { m_now = m_now.addMSecs(static_cast<qint64>(seconds * 1000)); }

private:
    QDateTime m_now = QDateTime(QDate(2026, 11, 21), QTime(12, 0), Qt::UTC);
};

// A notification service that keeps what is shown, for model tests.
class FakeNotificationCenter : public platform::NotificationCenter {
public:
    struct Shown {
        quint32 id;
        QString title;
        QString body;
        QList<Action> actions;
    };

    bool present = true;
    QList<Shown> shown; // on screen now, oldest first

    bool available() override { return present; }
    void post(const QString& title, const QString& body, const QList<Action>& actions, quint32 replacesId,
        std::function<void(quint32)> posted) override
    {
        quint32 id = ++m_lastId;
        for (qsizetype i = 0; i < shown.size(); ++i) {
            if (replacesId != 0 && shown[i].id == replacesId) {
                id = replacesId;
                shown.removeAt(i);
                break;
            }
        }
        shown.append({id, title, body, actions});
        if (posted)
            posted(id);
    }
    void invoke(quint32 id, const QString& action) { emit actionInvoked(id, action); }
    QStringList titles() const
    {
        QStringList list;
        for (const auto& n : shown)
            list.append(n.title);
        return list;
    }

private:
    quint32 m_lastId = 0;
};

// Thermal pressure the test sets.
class FakeThermalPressure : public platform::ThermalPressure {
public:
    Level level() const override { return m_level; }
    void set(Level level)
    {
        m_level = level;
        emit levelChanged();
    }

private:
    Level m_level = Level::nominal;
};

// What the models' tests share: settings in a temporary file, and fakes of
// the helper link, the clock, the notification service and thermal pressure.
struct FakeAppServices {
    QTemporaryDir dir;
    app::Settings settings{dir.path() + "/Quillon.conf"};
    FakeHelperLink link;
    FakeClock clock;
    FakeNotificationCenter center;
    app::Notifier notifier{&center};
    FakeThermalPressure thermal;
};

} // namespace quillon::test
