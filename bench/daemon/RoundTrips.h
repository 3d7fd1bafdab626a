#pragma once

namespace quillon::bench {

// SMC round trips per boosted control tick and per status read, on the
// simulated Mac (records), applesmc and hwmon (sysfs reads and writes, a key
// selection counted with its read), from captured driver trees.
void measureRoundTrips(int ticks);

} // namespace quillon::bench
