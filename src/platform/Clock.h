#pragma once

#include <QDateTime>

namespace quillon::platform {

// "Now" for the models, injectable so tests move time by hand. Wall-clock
// time: end times shown to the user and timer deadlines are wall times.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};

// The real clock.
class SystemClock : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

} // namespace quillon::platform
