#pragma once

#include "core/CoolingProfile.h"

#include <QJsonArray>
#include <QList>
#include <QString>
#include <optional>

namespace quillon::app {

// An application whose running keeps the computer awake, and the cooling
// profile asked for while it runs. bundleID is its desktop-entry id on
// Linux. Stored as {"bundleID": …, "name": …, "cooling": "max"}, cooling
// left out when none.
struct TriggerApp {
    QString bundleID;
    QString name;
    std::optional<core::CoolingProfile::Kind> cooling;

    bool operator==(const TriggerApp&) const = default;

    // The stored form of a list. decodeList refuses the whole list (nullopt)
    // when any element is not an object with a text bundleID and name, or
    // has a cooling that is no profile's raw value.
    static QJsonArray encodeList(const QList<TriggerApp>& apps);
    static std::optional<QList<TriggerApp>> decodeList(const QJsonArray& array);
};

} // namespace quillon::app
