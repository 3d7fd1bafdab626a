#pragma once

#include <chrono>

// The helper under load and under a lasting fault, with real processes on a
// private bus and the shared simulated Mac; figures printed, nothing asserted.
namespace quillon::bench {

// 60,000 status calls from another uid (needs root) while the owner holds a
// boost: how long they take, the owner's worst poll, the helper's memory
// before, at its peak and after, and late ticks.
void measureFlood();

// A boost requested (the app's model in this process, over the real link)
// while every temperature read fails for `span`: CPU of app, helper and
// simulator, and how often the helper took the fans again.
void measureSensorFaultCpu(std::chrono::seconds span);

} // namespace quillon::bench
