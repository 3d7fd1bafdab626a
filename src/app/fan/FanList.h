#pragma once

#include "FanInfo.h"

#include <QList>
#include <QVariant>

namespace quillon::app {

// The fans as the helper's status lists them. An entry without an integral
// index and current, minimum and maximum speed is left out; a missing or
// malformed target counts as none (0).
class FanList {
public:
    // One status' "fans" value; whether the list changed.
    bool apply(const QVariant& value);
    const QList<FanInfo>& fans() const { return m_fans; }
    // One map per fan, keyed as in the status, for the panel.
    QVariantList forView() const;

private:
    QList<FanInfo> m_fans;
};

} // namespace quillon::app
