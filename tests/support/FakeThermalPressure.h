#pragma once

#include "platform/ThermalPressure.h"

namespace quillon::test {

// Thermal pressure the test sets.
class FakeThermalPressure : public platform::ThermalPressure {
public:
    Level level() const override { return m_level; }
    void set(Level level)
    {
        m_level = level;
        emit levelChanged();
    }

private:
    Level m_level = Level::nominal;
};

} // namespace quillon::test
