#pragma once

#include "platform/PowerAssertionBackend.h"

#include <map>
#include <vector>

namespace quillon::test {

// A power manager that records what it was asked: the assertions in force
// and every release. refuse makes create() fail with problem; confirmLater
// makes new assertions confirming until the test settles them.
class FakePowerAssertionBackend : public platform::PowerAssertionBackend {
public:
    struct Assertion {
        platform::PowerAssertionType type;
        QString name;
    };

    std::optional<AssertionId> create(platform::PowerAssertionType type, const QString& name) override
    {
        ++createCalls;
        if (refuse)
            return std::nullopt;
        live.emplace(++m_lastId, Assertion{type, name});
        if (confirmLater)
            states[m_lastId] = {platform::PowerAssertionState::Phase::confirming, "fake", {}};
        return m_lastId;
    }
    QString lastProblem() const override { return refuse ? problem : QString(); }
    platform::PowerAssertionState state(AssertionId id) const override
    {
        const auto found = states.find(id);
        return found == states.end() ? platform::PowerAssertionState{} : found->second;
    }
    // The system confirms (inForce) or drops (failed, with a problem) an assertion.
    void settle(AssertionId id, platform::PowerAssertionState::Phase phase, const QString& why = {})
    {
        states[id] = {phase, "fake", why};
        emit stateChanged(id);
    }

    // Who else blocks sleep: answered at once with others, or, while
    // holdOthers, kept in waiting until the test calls them.
    void askOtherInhibitors(OtherInhibitorsAnswer done) override
    {
        if (holdOthers)
            waitingForOthers.push_back(std::move(done));
        else
            done(others);
    }

    void release(AssertionId id) override
    {
        released.push_back(id);
        live.erase(id);
    }

    bool refuse = false;
    QString problem = "nothing here";
    bool confirmLater = false;
    std::map<AssertionId, platform::PowerAssertionState> states;
    int createCalls = 0;
    OtherInhibitors others;
    bool holdOthers = false;
    std::vector<OtherInhibitorsAnswer> waitingForOthers;
    std::map<AssertionId, Assertion> live;
    std::vector<AssertionId> released;

private:
    AssertionId m_lastId = 100;
};

} // namespace quillon::test
