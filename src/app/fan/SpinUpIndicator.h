#pragma once

#include "FanInfo.h"

#include <QDateTime>
#include <QList>
#include <optional>

namespace quillon::app {

// "Fans spinning up …": shown for a few seconds when a boost starts from
// rest, and ended early once a fan reaches most of its target, or for good
// after kGiveUpS.
class SpinUpIndicator {
public:
    static constexpr double kShownS = 5.0;
    static constexpr double kReachedShare = 0.85;
    static constexpr qint64 kGiveUpS = 20;

    void start(const QDateTime& now);
    // Whether anything changed.
    bool clear();
    // The fans as the helper reports them; whether the indicator ended.
    bool endIfDone(const QList<FanInfo>& fans, const QDateTime& now);

    bool spinningUp() const { return m_spinningUp; }
    QDateTime until() const { return m_until; }
    // Whole seconds left at now, never below 0; nullopt when not shown.
    std::optional<int> remaining(const QDateTime& now) const;

private:
    bool m_spinningUp = false;
    QDateTime m_until;
    QDateTime m_started;
};

} // namespace quillon::app
