#pragma once

#include "platform/PowerAssertionBackend.h"

#include <map>
#include <vector>

namespace quillon::test {

// A power manager that records what it was asked: the assertions in force
// and every release. refuse makes create() fail.
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
        return m_lastId;
    }

    void release(AssertionId id) override
    {
        released.push_back(id);
        live.erase(id);
    }

    bool refuse = false;
    int createCalls = 0;
    std::map<AssertionId, Assertion> live;
    std::vector<AssertionId> released;

private:
    AssertionId m_lastId = 100;
};

} // namespace quillon::test
