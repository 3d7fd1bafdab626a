#pragma once

#include <QString>
#include <optional>

namespace quillon::ui {

// What the tray shows: the gauge (needle full while anything keeps the
// machine awake or holds the fans, half otherwise) and, when the user asked
// for it and a reading exists, the CPU temperature as a title (" 72°").
struct IconState {
    bool active = false;
    QString title; // empty: the icon alone
    // "Paused until 14:30" while keep-awake is paused: in the tooltip, and a
    // pause mark in the icon where no temperature is drawn.
    QString paused = {};

    bool operator==(const IconState&) const = default;

    // The temperature is the smoothed CPU reading, else the raw one; before
    // the first reading there is no title.
    static IconState of(bool active, bool showTemperature, std::optional<double> smoothedCpu,
        std::optional<double> rawCpu, const QString& paused = {});
};

} // namespace quillon::ui
