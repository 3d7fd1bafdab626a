#pragma once

#include "smc/SmcCodes.h"
#include "smc/SmcTransport.h"

#include <functional>
#include <vector>

namespace quillon::test {

// A transport whose answers a test scripts, and which records every request,
// for checking the two-phase call byte by byte.
class RecordingTransport : public smc::SmcTransport {
public:
    using Answer = std::function<std::uint32_t(const smc::SmcParamRecord& in, smc::SmcParamRecord& out)>;

    explicit RecordingTransport(Answer answer, std::uint32_t openStatus = smc::SmcStatus::kSuccess)
        : m_answer(std::move(answer))
        , m_openStatus(openStatus)
    {
    }

    std::uint32_t open() override
    {
        ++opens;
        return m_openStatus;
    }

    std::uint32_t call(const smc::SmcParamRecord& in, smc::SmcParamRecord& out) override
    {
        requests.push_back(in);
        return m_answer(in, out);
    }

    int opens = 0;
    std::vector<smc::SmcParamRecord> requests;

private:
    Answer m_answer;
    std::uint32_t m_openStatus;
};

} // namespace quillon::test
