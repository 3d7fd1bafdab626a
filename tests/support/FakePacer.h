#pragma once

#include "SimRig.h"

#include "cli/Pacer.h"

namespace quillon::test {

// Time for the tools that is the simulated Mac's time too: a sleep moves the
// rig's clock, so a 15-second test runs in microseconds with the fans
// spinning up as they would. interruptAfterSleeps simulates a Ctrl-C.
class FakePacer : public cli::Pacer {
public:
    explicit FakePacer(SimRig& rig)
        : m_rig(rig)
    {
    }

    double seconds() override { return m_rig.now; }
    void sleep(double seconds) override
    {
        ++sleeps;
        m_rig.advance(seconds);
        if (interruptAfterSleeps >= 0 && sleeps >= interruptAfterSleeps)
            m_interrupted = true;
    }
    bool interrupted() override { return m_interrupted; }

    int sleeps = 0;
    int interruptAfterSleeps = -1;

private:
    SimRig& m_rig;
    bool m_interrupted = false;
};

} // namespace quillon::test
