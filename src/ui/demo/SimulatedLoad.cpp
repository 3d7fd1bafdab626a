#include "SimulatedLoad.h"

#include "smc/SmcConnection.h"

#include <algorithm>

namespace quillon::ui {

namespace {
constexpr const char* kLoadKey = "QLOD";
}

SimulatedLoad::SimulatedLoad(std::unique_ptr<smc::SmcTransport> transport, QObject* parent)
    : QObject(parent)
    , m_smc(std::make_unique<smc::SmcConnection>(std::move(transport)))
{
    bool ok = false;
    const std::uint8_t load = m_smc->readU8(kLoadKey, &ok);
    if (ok)
        m_percent = load;
}

SimulatedLoad::~SimulatedLoad() = default;

void SimulatedLoad::setPercent(int percent)
{
    const int load = std::clamp(percent, 0, 100);
    if (m_smc->writeU8(kLoadKey, static_cast<std::uint8_t>(load)) == 0) {
        m_percent = load;
        m_problem.clear();
    } else {
        m_problem = tr("The simulated Mac did not take the new load.");
    }
    emit percentChanged();
}

} // namespace quillon::ui
