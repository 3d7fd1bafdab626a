#pragma once

#include "ToolContext.h"

#include <cstdint>

namespace quillon::cli {

// The write tests of `--diag`. Each saves the keys it touches first and
// writes them back last, whatever happened in between (failed writes, an
// interrupt). When a write is refused and the tool is not root, the user is
// told how to re-run it.
class DiagWriteTests {
public:
    explicit DiagWriteTests(ToolContext& context);

    // F0Md = 1 and F0Tg = 4000, then whether F0Ac rose after 4 s.
    void forcedWrite();
    // Mode 1 and target 5000 on fans 0 and 1 every 0.2 s for 15 s.
    void loop();
    // Writes F0Md, then F0Tg, each read back after 0.2 s.
    void probe();

    static constexpr float kForcedTargetRpm = 4000.0f;
    static constexpr double kSpinUpWaitS = 4.0;
    static constexpr float kLoopTargetRpm = 5000.0f;
    static constexpr double kLoopPeriodS = 0.2;
    static constexpr double kLoopDurationS = 15.0;
    static constexpr double kReadBackDelayS = 0.2;

private:
    // Performs a write and remembers a refusal for the root hint.
    std::uint32_t checked(std::uint32_t status);
    void restoreFan0(std::uint8_t mode, float target);
    void printRootHintIfRefused();

    ToolContext& m_context;
    bool m_refused = false;
};

} // namespace quillon::cli
