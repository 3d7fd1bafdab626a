#pragma once

#include <QColor>
#include <QObject>
#include <optional>

namespace quillon::platform {

// The colour the desktop's tray draws its own text and symbolic icons in,
// where the tray tells it: an icon drawn in that colour reads on a dark and
// a light panel alike, whatever the app's own theme is. Main thread only.
class TrayColors : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // nullopt where no tray tells its colours (then the app's palette is the
    // best guess).
    virtual std::optional<QColor> foreground() const = 0;

signals:
    // The tray changed its colours, or a tray came or went.
    void changed();
};

} // namespace quillon::platform
