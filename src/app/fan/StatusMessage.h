#pragma once

#include <QVariantMap>

struct sd_bus_message;

namespace quillon::app {

// The helper's status answer (a{sv}) read into plain Qt values: numbers,
// booleans and strings as they are, "fans" (aa{sv}) as a list of maps. An
// entry of any other type is left out, as is everything past kMaxEntries
// entries in a map or kMaxFans fans; a message that is no a{sv} reads as an
// empty status. The model judges each value itself (ranges, NaN).
class StatusMessage {
public:
    static constexpr int kMaxEntries = 64;
    static constexpr int kMaxFans = 16;

    static QVariantMap read(sd_bus_message* reply);
};

} // namespace quillon::app
