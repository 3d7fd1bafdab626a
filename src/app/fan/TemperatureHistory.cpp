#include "TemperatureHistory.h"

#include <algorithm>

namespace quillon::app {

void TemperatureHistory::append(double value)
{
    m_values.append(value);
    if (m_values.size() > m_limit)
        m_values.remove(0, m_values.size() - m_limit);
}

std::optional<double> TemperatureHistory::median(QList<double> values)
{
    if (values.isEmpty())
        return std::nullopt;
    std::sort(values.begin(), values.end());
    const qsizetype middle = values.size() / 2;
    if (values.size() % 2 == 1)
        return values[middle];
    return (values[middle - 1] + values[middle]) / 2.0;
}

} // namespace quillon::app
