#pragma once

#include "ThermalSnapshot.h"
#include "platform/ThermalPressure.h"

#include <QTimer>

namespace quillon::platform::linux_ {

// Thermal pressure from the kernel's thermal zones and CPU throttle counters,
// sampled every few seconds:
//   critical: a zone at its hot trip or within 5 °C of its critical trip, or
//             the CPUs throttled for half the time since the last sample;
//   serious:  a zone at its lowest passive trip (the kernel is cooling by
//             slowing down), or throttling 5 % of the time;
//   fair:     a zone within 10 °C of its passive trip (80 °C where it has
//             none), or any new throttle event;
//   nominal:  none of these.
// The level rises after two samples in a row and falls only after ten
// seconds of lower readings, so a single hot sample does not flap the badge.
// The zones and counters are found once, at construction; a sample reads
// only those, and a machine without any is never sampled.
class LinuxThermalPressure : public platform::ThermalPressure {
    Q_OBJECT
public:
    static constexpr int kSampleIntervalMs = 3000;

    // sysfsRoot is "/" on a real machine. startTimer off: tests call sample().
    explicit LinuxThermalPressure(
        QString sysfsRoot = QStringLiteral("/"), bool startTimer = true, QObject* parent = nullptr);

    Level level() const override { return m_level; }

    // Takes one sample; elapsedS is the time since the previous one.
    void sample(double elapsedS);
    // Whether the timer samples (it does not where there is nothing to read).
    bool sampling() const { return m_timer.isActive(); }

    // The level one pair of snapshots shows, before smoothing.
    static Level levelFor(const ThermalSnapshot& now, const ThermalSnapshot* before, double elapsedS);

private:
    QString m_root;
    ThermalSnapshot::Sources m_sources;
    QTimer m_timer;
    std::optional<ThermalSnapshot> m_previous;
    Level m_level = Level::nominal;
    int m_samplesAbove = 0;
    double m_secondsBelow = 0;
};

} // namespace quillon::platform::linux_
