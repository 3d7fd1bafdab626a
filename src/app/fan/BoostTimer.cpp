#include "BoostTimer.h"

#include <algorithm>
#include <chrono>

namespace quillon::app {

BoostTimer::BoostTimer(bool startTimer, QObject* parent)
    : QObject(parent)
    , m_startTimer(startTimer)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &BoostTimer::expired);
}

void BoostTimer::schedule(const QDateTime& now, double seconds)
{
    const auto ms = static_cast<qint64>(seconds * 1000.0);
    m_expiresAt = now.addMSecs(ms);
    if (m_startTimer)
        m_timer.start(std::chrono::milliseconds(ms));
}

bool BoostTimer::cancel()
{
    m_timer.stop();
    if (!m_expiresAt.isValid())
        return false;
    m_expiresAt = QDateTime();
    return true;
}

QString BoostTimer::remainingText(const QDateTime& now) const
{
    if (!m_expiresAt.isValid())
        return {};
    const qint64 left = std::max<qint64>(0, now.msecsTo(m_expiresAt) / 1000);
    return QStringLiteral("%1:%2").arg(left / 60).arg(left % 60, 2, 10, QLatin1Char('0'));
}

} // namespace quillon::app
