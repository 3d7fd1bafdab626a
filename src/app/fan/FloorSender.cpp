#include "FloorSender.h"

#include "HelperLink.h"
#include "HelperPoller.h"
#include "app/Notifier.h"
#include "platform/Clock.h"

#include <QDebug>
#include <algorithm>
#include <utility>

namespace quillon::app {

FloorSender::FloorSender(HelperLink& link, HelperPoller& poller, const platform::Clock& clock, Notifier* notifier,
    bool startTimers, QObject* parent)
    : QObject(parent)
    , m_link(link)
    , m_poller(poller)
    , m_clock(clock)
    , m_notifier(notifier)
    , m_boostTimer(startTimers)
{
    connect(&m_boostTimer, &BoostTimer::expired, this, &FloorSender::expired);
}

void FloorSender::setTargetPercent(double percent)
{
    if (percent != m_targetPercent) {
        m_targetPercent = percent;
        emit boostChanged();
    }
}

void FloorSender::setBoosted(bool boosted)
{
    if (boosted != m_isBoosted) {
        m_isBoosted = boosted;
        emit boostChanged();
    }
}

void FloorSender::hold(std::optional<double> durationS, bool automatic, double defaultS)
{
    const bool wasBoosted = m_isBoosted;
    const double p = m_targetPercent;
    setBoosted(p > 0);
    if (p > 0 && !wasBoosted)
        startSpinUp();
    else if (p <= 0)
        clearSpinUp();

    sendFloor(p);

    if (automatic || p <= 0) {
        cancelExpiry(); // automatic cooling and zero floors never expire
    } else if (durationS || !wasBoosted) {
        scheduleExpiry(std::min(durationS.value_or(defaultS), kMaxBoostSeconds));
    }
}

void FloorSender::reassert()
{
    qInfo().noquote() << QStringLiteral("Quillon: the helper let go of the fans; sending the %1 % floor again")
                             .arg(m_targetPercent, 0, 'f', 0);
    setBoosted(true);
    if (!m_spinUp.spinningUp())
        startSpinUp();
    sendFloor(m_targetPercent);
}

bool FloorSender::reset()
{
    setTargetPercent(0);
    setBoosted(false);
    clearSpinUp();
    cancelExpiry();
    // No new connection for a stop: without one there is nothing to stop.
    if (!m_link.isOpen())
        return false;
    sendStop();
    return true;
}

void FloorSender::endUserAction()
{
    if (--m_userActionDepth > 0)
        return;
    const auto command = std::exchange(m_pendingCommand, std::nullopt);
    if (!command || !m_link.isOpen())
        return;
    if (*command)
        sendFloor(**command);
    else
        sendStop();
}

void FloorSender::sendFloor(double percent)
{
    if (inUserAction()) {
        m_pendingCommand = std::optional<double>(percent);
        return;
    }
    if (percent > 0)
        m_poller.pollFast();
    m_link.setFanFloor(percent, this, [this](bool ok, const QString&) {
        if (!ok)
            setBoosted(false);
        emit floorAnswered(ok);
        m_poller.refresh();
    });
}

void FloorSender::sendStop()
{
    if (inUserAction()) {
        m_pendingCommand = std::optional<double>();
        return;
    }
    m_link.stopBoost(this, [this](bool, const QString&) { m_poller.refresh(); });
}

void FloorSender::scheduleExpiry(double seconds)
{
    cancelExpiry();
    if (m_notifier)
        m_notifier->requestAuthorizationIfNeeded();
    m_boostTimer.schedule(m_clock.now(), seconds);
    emit boostChanged();
}

void FloorSender::cancelExpiry()
{
    if (m_boostTimer.cancel())
        emit boostChanged();
}

void FloorSender::startSpinUp()
{
    m_spinUp.start(m_clock.now());
    emit spinUpChanged();
}

void FloorSender::clearSpinUp()
{
    if (m_spinUp.clear())
        emit spinUpChanged();
}

void FloorSender::followFans(const QList<FanInfo>& fans, const QDateTime& now)
{
    if (m_spinUp.endIfDone(fans, now))
        emit spinUpChanged();
}

} // namespace quillon::app
