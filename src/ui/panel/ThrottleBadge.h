#pragma once

#include "platform/ThermalPressure.h"

#include <QColor>
#include <QCoreApplication>
#include <QString>
#include <optional>

namespace quillon::ui {

// The panel's small thermal-pressure badge: nothing while nominal, then
// "Elevated" in amber, "Throttling" in orange and "Critical" in red.
class ThrottleBadge {
    Q_DECLARE_TR_FUNCTIONS(ThrottleBadge)
public:
    ThrottleBadge() = delete;

    struct Info {
        QString text;
        QColor color;
    };

    static std::optional<Info> info(platform::ThermalPressure::Level level);
};

} // namespace quillon::ui
