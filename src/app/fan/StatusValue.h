#pragma once

#include <QString>
#include <QVariant>
#include <optional>

namespace quillon::app {

// Reading the helper's status payload defensively: a value of the wrong type
// counts as absent, never as a number or a flag it is not.
class StatusValue {
public:
    StatusValue() = delete;

    static bool isIntegral(const QVariant& v);
    // A finite number, or nothing: a temperature of NaN or infinity is no reading.
    static std::optional<double> finiteNumber(const QVariant& v);
    static bool boolOrFalse(const QVariant& v);
    static QString stringOrEmpty(const QVariant& v);
};

} // namespace quillon::app
