#pragma once

// The fault scenarios the fan helper must survive, each run against real
// processes (private bus, shared simulated Mac, quillon-helper --daemon,
// stand-ins for logind and polkit) and printed as one Markdown table:
// scenario, outcome, time from the fault to the safe state.
namespace quillon::bench {

void printSafetyTable();

} // namespace quillon::bench
