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

    // The stored form of a list. decodeList keeps the elements it can read
    // and skips any that is not an object with a text bundleID and name, or
    // has a cooling that is no profile's raw value; complete, when given,
    // says whether none was skipped.
    static QJsonArray encodeList(const QList<TriggerApp>& apps);
    static QList<TriggerApp> decodeList(const QJsonArray& array, bool* complete = nullptr);
};

} // namespace quillon::app
