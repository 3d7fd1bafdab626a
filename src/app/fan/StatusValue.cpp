#include "StatusValue.h"

#include <cmath>

namespace quillon::app {

bool StatusValue::isIntegral(const QVariant& v)
{
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

std::optional<double> StatusValue::finiteNumber(const QVariant& v)
{
    if (v.typeId() != QMetaType::Double && v.typeId() != QMetaType::Float && !isIntegral(v))
        return std::nullopt;
    const double value = v.toDouble();
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

bool StatusValue::boolOrFalse(const QVariant& v)
{
    return v.typeId() == QMetaType::Bool && v.toBool();
}

QString StatusValue::stringOrEmpty(const QVariant& v)
{
    return v.typeId() == QMetaType::QString ? v.toString() : QString();
}

} // namespace quillon::app
