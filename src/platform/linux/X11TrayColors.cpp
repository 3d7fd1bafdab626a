#include "X11TrayColors.h"

#include "QtXcb.h"

#include <QCoreApplication>
#include <cstdlib>
#include <xcb/xcb.h>

namespace quillon::platform::linux_ {

namespace {

xcb_atom_t atom(xcb_connection_t* c, const QByteArray& name)
{
    xcb_intern_atom_reply_t* reply
        = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, std::uint16_t(name.size()), name.constData()), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

// Adds events to what this client already selects on a window (Qt selects on
// the root window itself, and a selection replaces the client's whole mask).
void selectAlso(xcb_connection_t* c, xcb_window_t window, std::uint32_t events)
{
    xcb_get_window_attributes_reply_t* attributes
        = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr);
    if (!attributes)
        return;
    const std::uint32_t mask = attributes->your_event_mask | events;
    std::free(attributes);
    xcb_change_window_attributes(c, window, XCB_CW_EVENT_MASK, &mask);
}

} // namespace

X11TrayColors::X11TrayColors(QObject* parent)
    : TrayColors(parent)
    , m_connection(QtXcb::connection())
{
    if (!m_connection)
        return;
    // The tray of the first screen: the one the app's tray icon goes to.
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    m_selection = atom(m_connection, QByteArrayLiteral("_NET_SYSTEM_TRAY_S0"));
    m_colorsAtom = atom(m_connection, QByteArrayLiteral("_NET_SYSTEM_TRAY_COLORS"));
    m_managerAtom = atom(m_connection, QByteArrayLiteral("MANAGER"));
    selectAlso(m_connection, m_root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    QCoreApplication::instance()->installNativeEventFilter(this);
    findManager();
}

X11TrayColors::~X11TrayColors()
{
    if (m_connection)
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

std::optional<QColor> X11TrayColors::foregroundOf(const std::uint32_t* values, int count)
{
    if (!values || count < 3 || values[0] > 0xffff || values[1] > 0xffff || values[2] > 0xffff)
        return std::nullopt;
    return QColor::fromRgba64(quint16(values[0]), quint16(values[1]), quint16(values[2]));
}

void X11TrayColors::findManager()
{
    xcb_get_selection_owner_reply_t* owner
        = xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr);
    m_manager = owner ? owner->owner : xcb_window_t(XCB_WINDOW_NONE);
    std::free(owner);
    if (m_manager != XCB_WINDOW_NONE) {
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_manager, XCB_CW_EVENT_MASK, &mask);
    }
    readColors();
}

void X11TrayColors::readColors()
{
    std::optional<QColor> foreground;
    if (m_manager != XCB_WINDOW_NONE) {
        // Four colours of three cardinals each.
        xcb_get_property_reply_t* reply = xcb_get_property_reply(m_connection,
            xcb_get_property(m_connection, 0, m_manager, m_colorsAtom, XCB_ATOM_CARDINAL, 0, 12), nullptr);
        if (reply && reply->format == 32) {
            foreground = foregroundOf(static_cast<const std::uint32_t*>(xcb_get_property_value(reply)),
                xcb_get_property_value_length(reply) / 4);
        }
        std::free(reply);
    }
    if (foreground == m_foreground)
        return;
    m_foreground = foreground;
    emit changed();
}

bool X11TrayColors::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY: {
        const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (property->window == m_manager && property->atom == m_colorsAtom)
            readColors();
        break;
    }
    case XCB_CLIENT_MESSAGE: {
        const auto* client = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (client->window == m_root && client->type == m_managerAtom && client->format == 32
            && client->data.data32[1] == m_selection)
            findManager();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window == m_manager) {
            m_manager = XCB_WINDOW_NONE;
            readColors();
        }
        break;
    default:
        break;
    }
    return false;
}

} // namespace quillon::platform::linux_
