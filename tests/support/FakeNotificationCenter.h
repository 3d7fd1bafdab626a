#pragma once

#include "platform/NotificationCenter.h"

#include <QList>

namespace quillon::test {

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

} // namespace quillon::test
