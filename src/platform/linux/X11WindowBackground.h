#pragma once

#include <QColor>

class QWindow;

namespace quillon::platform::linux_::X11WindowBackground {

// Has the X server fill window (created here if need be) with colour
// wherever it is exposed, so the window needs no buffer of its own: nothing
// draws into it on this side. A translucent colour stays translucent under a
// compositor when the window has an alpha visual. False off X11, where the
// window must draw its background itself.
bool fillByServer(QWindow& window, const QColor& colour);

} // namespace quillon::platform::linux_::X11WindowBackground
