#pragma once

#include "app/fan/HelperLink.h"

#include <QPointer>
#include <QStringList>
#include <functional>

namespace quillon::test {

// A helper link for model tests: records every request, and holds the
// replies until the test delivers them, as the bus would deliver them later.
// Like the helper, it reports itself boosted after a floor above zero until a
// stop, unless the test's status says otherwise.
class FakeHelperLink : public app::HelperLink {
public:
    bool available = true;
    bool open = false;
    bool floorsSucceed = true;
    QVariantMap status;   // what getStatus answers
    bool boosted = false; // the helper's own idea of whether it holds the fans
    QString lidRefusal;   // set: the helper refuses to take the lid lock, with this reason
    QStringList requests; // "getStatus", "setFanFloor 40", "stopBoost", "setLidStayAwake 1"
    QList<double> floors; // every floor sent

    bool helperAvailable() override { return available; }
    void connectIfNeeded() override { open = open || available; }
    bool isOpen() const override { return open; }
    void invalidate() override { open = false; }

    void getStatus(QObject* context, StatusReply reply) override
    {
        record("getStatus", context, [this, reply] {
            QVariantMap answer = status;
            if (!answer.contains("isBoosted"))
                answer.insert("isBoosted", boosted);
            reply(answer);
        });
    }
    void setFanFloor(double percent, QObject* context, Reply reply) override
    {
        floors.append(percent);
        if (open && floorsSucceed)
            boosted = percent > 0;
        record(QStringLiteral("setFanFloor %1").arg(percent), context,
            [this, reply] { reply(floorsSucceed, floorsSucceed ? "floor set" : "refused"); });
    }
    void stopBoost(QObject* context, Reply reply) override
    {
        if (open)
            boosted = false;
        record("stopBoost", context, [reply] { reply(true, "boost stopped"); });
    }
    void setLidStayAwake(bool on, QObject* context, Reply reply) override
    {
        record(QStringLiteral("setLidStayAwake %1").arg(on), context, [this, on, reply] {
            const bool refused = on && !lidRefusal.isEmpty();
            reply(!refused, refused ? lidRefusal : QStringLiteral("lid"));
        });
    }

    // Delivers every pending reply, and those the replies cause, in order.
    void deliver()
    {
        while (!m_pending.isEmpty())
            m_pending.takeFirst()();
    }
    // Forgets what was asked so far.
    void clear()
    {
        requests.clear();
        floors.clear();
    }
    int count(const QString& request) const { return static_cast<int>(requests.count(request)); }

private:
    void record(const QString& request, QObject* context, std::function<void()> reply)
    {
        if (!open)
            return;
        requests.append(request);
        QPointer<QObject> guard(context);
        m_pending.append([guard, reply] {
            if (guard)
                reply();
        });
    }

    QList<std::function<void()>> m_pending;
};

} // namespace quillon::test
