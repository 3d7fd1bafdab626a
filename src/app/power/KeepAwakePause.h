#pragma once

#include "app/LongTimer.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <optional>

namespace quillon::platform {
class Clock;
}

namespace quillon::app {

class SleepAssertions;

// A pause of keep-awake: the holds it covers (the session, automation, the
// processes kept awake for) let go of their assertions and take them again
// when it ends, at its end time or when resumed. Their owners go on as
// before: a session's countdown runs on, rules are still evaluated. What it
// does not cover (Render Mode, the closed lid, fan control) is never paused,
// so a closed lid never sleeps behind the user's back.
//
// Main thread only. The timer calls resumeIfDue(); so does anyone who
// notices the clock has passed the end (a timer waits out a suspend).
class KeepAwakePause : public QObject {
    Q_OBJECT
public:
    KeepAwakePause(const platform::Clock& clock, bool startTimers, QObject* parent = nullptr);

    // Each covered hold follows every pause from now on.
    void cover(SleepAssertions& holds);

    // Pauses until the given time (none: until resume()); pausing again
    // sets the new end.
    void pause(std::optional<QDateTime> until);
    void resume();
    // Ends the pause once the clock has reached its end.
    void resumeIfDue();

    bool paused() const { return m_paused; }
    // The end; invalid when not paused or paused until resumed.
    QDateTime until() const { return m_until; }

signals:
    void changed();

private:
    void setPaused(bool paused);

    const platform::Clock& m_clock;
    bool m_startTimers;
    QList<SleepAssertions*> m_covered;
    bool m_paused = false;
    QDateTime m_until;
    LongTimer m_timer;
};

} // namespace quillon::app
