#pragma once

#include <QList>
#include <optional>

namespace quillon::app {

// The last samples of a temperature, oldest first, at most `limit` of them.
class TemperatureHistory {
public:
    explicit TemperatureHistory(qsizetype limit)
        : m_limit(limit)
    {
    }

    // Appends a sample and drops the oldest beyond the limit.
    void append(double value);
    const QList<double>& values() const { return m_values; }

    // The middle sample; for an even count, the mean of the two middle ones.
    // A running median of one-second samples ignores single spikes.
    static std::optional<double> median(QList<double> values);
    std::optional<double> median() const { return median(m_values); }

private:
    qsizetype m_limit;
    QList<double> m_values;
};

} // namespace quillon::app
