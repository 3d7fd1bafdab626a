#pragma once

namespace quillon::smc {

// Which family of SMC answers. They name their temperature sensors
// differently: Apple silicon has per-core "Tp"/"Te" and GPU "Tg" keys as
// floats; Intel Macs (with or without a T2 chip) have upper-case "TC.."/"TG.."
// CPU and GPU keys, mostly sp78.
enum class SmcGeneration {
    appleSilicon,
    intel,
};

} // namespace quillon::smc
