#pragma once

#include <QObject>

namespace quillon::platform {

// The system's thermal pressure in four levels, as the app shows and reacts to
// it: nominal (normal), fair (slightly elevated), serious (the system is
// throttling), critical (it must cool down). Implementations announce every
// change of level through levelChanged().
class ThermalPressure : public QObject {
    Q_OBJECT
public:
    enum class Level { nominal, fair, serious, critical };
    Q_ENUM(Level)

    using QObject::QObject;

    virtual Level level() const = 0;

signals:
    void levelChanged();
};

} // namespace quillon::platform
