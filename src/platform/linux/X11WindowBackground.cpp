#include "X11WindowBackground.h"

#include "QtXcb.h"

#include <QWindow>
#include <cstdlib>
#include <xcb/xcb.h>

namespace quillon::platform::linux_::X11WindowBackground {

bool fillByServer(QWindow& window, const QColor& colour)
{
    xcb_connection_t* c = QtXcb::connection();
    if (!c)
        return false;
    const auto id = static_cast<xcb_window_t>(window.winId());
    xcb_get_geometry_reply_t* geometry = xcb_get_geometry_reply(c, xcb_get_geometry(c, id), nullptr);
    const bool alpha = geometry && geometry->depth == 32;
    std::free(geometry);
    // A pixel of a 32-bit visual is premultiplied ARGB; a 24-bit one has no
    // alpha, and a translucent dim shows as it would over black.
    const QRgb premultiplied = qPremultiply(colour.rgba());
    const std::uint32_t pixel = alpha ? premultiplied : (premultiplied & 0xffffffu);
    xcb_change_window_attributes(c, id, XCB_CW_BACK_PIXEL, &pixel);
    xcb_clear_area(c, 0, id, 0, 0, 0, 0);
    xcb_flush(c);
    return true;
}

} // namespace quillon::platform::linux_::X11WindowBackground
