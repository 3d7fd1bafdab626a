#pragma once

#include <chrono>
#include <functional>

namespace quillon::test {

// QtDBus and timers need an application object: one per process, made on
// first use, for tests that run without QtTestMain.
void ensureCoreApplication();

// Asks done every few milliseconds, processing Qt events in between, until it
// holds or timeout passes; whether it held.
bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout = std::chrono::seconds(3));

} // namespace quillon::test
