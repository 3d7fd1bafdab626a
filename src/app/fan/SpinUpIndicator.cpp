#include "SpinUpIndicator.h"

#include <algorithm>

namespace quillon::app {

void SpinUpIndicator::start(const QDateTime& now)
{
    m_started = now;
    m_until = now.addMSecs(static_cast<qint64>(kShownS * 1000));
    m_spinningUp = true;
}

bool SpinUpIndicator::clear()
{
    if (!m_spinningUp && !m_until.isValid() && !m_started.isValid())
        return false;
    m_spinningUp = false;
    m_until = QDateTime();
    m_started = QDateTime();
    return true;
}

bool SpinUpIndicator::endIfDone(const QList<FanInfo>& fans, const QDateTime& now)
{
    if (!m_spinningUp)
        return false;
    bool done = !m_started.isValid();
    for (const FanInfo& fan : fans) {
        if (fan.targetRPM > 0 && fan.currentRPM >= static_cast<int>(fan.targetRPM * kReachedShare))
            done = true;
    }
    if (m_started.isValid() && m_started.secsTo(now) > kGiveUpS)
        done = true;
    return done && clear();
}

std::optional<int> SpinUpIndicator::remaining(const QDateTime& now) const
{
    if (!m_spinningUp || !m_until.isValid())
        return std::nullopt;
    return static_cast<int>(std::max<qint64>(0, now.msecsTo(m_until) / 1000));
}

} // namespace quillon::app
