#include "KeepAwakePause.h"

#include "SleepAssertions.h"
#include "platform/Clock.h"

namespace quillon::app {

KeepAwakePause::KeepAwakePause(const platform::Clock& clock, bool startTimers, QObject* parent)
    : QObject(parent)
    , m_clock(clock)
    , m_startTimers(startTimers)
{
    connect(&m_timer, &LongTimer::fired, this, &KeepAwakePause::resumeIfDue);
}

void KeepAwakePause::cover(SleepAssertions& holds)
{
    m_covered.append(&holds);
    holds.setPaused(m_paused);
}

void KeepAwakePause::pause(std::optional<QDateTime> until)
{
    m_until = until.value_or(QDateTime());
    m_timer.stop();
    if (until && m_startTimers)
        m_timer.start(std::chrono::milliseconds(std::max<qint64>(0, m_clock.now().msecsTo(*until))));
    setPaused(true);
    emit changed();
    resumeIfDue();
}

void KeepAwakePause::resume()
{
    m_timer.stop();
    m_until = QDateTime();
    setPaused(false);
    emit changed();
}

void KeepAwakePause::resumeIfDue()
{
    if (m_paused && m_until.isValid() && m_clock.now() >= m_until)
        resume();
}

void KeepAwakePause::setPaused(bool paused)
{
    m_paused = paused;
    for (SleepAssertions* holds : std::as_const(m_covered))
        holds->setPaused(paused);
}

} // namespace quillon::app
