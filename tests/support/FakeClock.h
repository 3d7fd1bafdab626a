#pragma once

#include "platform/Clock.h"

namespace quillon::test {

// A clock that moves only when the test says so.
class FakeClock : public platform::Clock {
public:
    QDateTime now() const override { return m_now; }
    void advance(double seconds) { m_now = m_now.addMSecs(static_cast<qint64>(seconds * 1000)); }

private:
    QDateTime m_now = QDateTime(QDate(2026, 11, 21), QTime(12, 0), Qt::UTC);
};

} // namespace quillon::test
