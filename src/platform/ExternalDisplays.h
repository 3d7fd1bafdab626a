#pragma once

#include <QObject>

namespace quillon::platform {

// Whether a display other than the computer's own panel is connected.
class ExternalDisplays : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Read afresh on every call; false when it cannot be read.
    virtual bool connected() = 0;

signals:
    // A display may have come or gone (a screen added or removed).
    void changed();
};

} // namespace quillon::platform
