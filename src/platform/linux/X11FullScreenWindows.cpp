#include "X11FullScreenWindows.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <xcb/xcb.h>

namespace quillon::platform::linux_ {

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// A window property, read whole up to a bound; null when absent.
Reply<xcb_get_property_reply_t> readProperty(xcb_connection_t* c, xcb_get_property_cookie_t cookie)
{
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(c, cookie, nullptr));
    return reply && reply->type != XCB_NONE ? std::move(reply) : nullptr;
}

// WM_CLASS: two strings, instance then class, each ended by a NUL.
QString windowClassOf(xcb_get_property_reply_t* reply)
{
    if (!reply || reply->format != 8)
        return {};
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply));
    const QList<QByteArray> parts = QByteArray(bytes, xcb_get_property_value_length(reply)).split('\0');
    const QByteArray className = parts.value(1).isEmpty() ? parts.value(0) : parts.value(1);
    return QString::fromUtf8(className.left(128));
}

} // namespace

struct X11FullScreenWindows::Atoms {
    xcb_atom_t activeWindow = XCB_NONE;
    xcb_atom_t state = XCB_NONE;
    xcb_atom_t fullScreen = XCB_NONE;
    xcb_atom_t pid = XCB_NONE;
};

X11FullScreenWindows::X11FullScreenWindows(const QString& display, bool wayland, QObject* parent)
    : FullScreenWindows(parent)
    , m_display(display)
{
    if (wayland)
        m_support = Support::wayland;
    else if (display.isEmpty() && qEnvironmentVariableIsEmpty("DISPLAY"))
        m_support = Support::noDisplay;
}

X11FullScreenWindows::~X11FullScreenWindows()
{
    disconnectDisplay();
}

std::unique_ptr<X11FullScreenWindows> X11FullScreenWindows::fromEnvironment(QObject* parent)
{
    const bool wayland = qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland")
        || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    return std::make_unique<X11FullScreenWindows>(QString(), wayland, parent);
}

void X11FullScreenWindows::setWatching(bool on)
{
    if (on == m_watching || m_support != Support::available)
        return;
    m_watching = on;
    if (on && connectDisplay()) {
        refresh();
        return;
    }
    disconnectDisplay();
    if (on)
        m_support = Support::noDisplay; // the display named could not be reached
    if (m_current) {
        m_current.reset();
        emit changed();
    }
}

bool X11FullScreenWindows::connectDisplay()
{
    int screenNumber = 0;
    const QByteArray name = m_display.toLocal8Bit();
    m_connection = xcb_connect(name.isEmpty() ? nullptr : name.constData(), &screenNumber);
    if (xcb_connection_has_error(m_connection)) {
        disconnectDisplay();
        return false;
    }
    auto roots = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && roots.rem; ++i)
        xcb_screen_next(&roots);
    m_root = roots.data->root;

    const char* names[] = {"_NET_ACTIVE_WINDOW", "_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN", "_NET_WM_PID"};
    xcb_intern_atom_cookie_t cookies[4];
    for (int i = 0; i < 4; ++i)
        cookies[i] = xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(std::strlen(names[i])), names[i]);
    xcb_atom_t atoms[4] = {};
    for (int i = 0; i < 4; ++i) {
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookies[i], nullptr));
        atoms[i] = reply ? reply->atom : XCB_NONE;
    }
    m_atoms = std::make_unique<Atoms>(Atoms{atoms[0], atoms[1], atoms[2], atoms[3]});

    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection);
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &X11FullScreenWindows::onEvents);
    return true;
}

void X11FullScreenWindows::disconnectDisplay()
{
    m_notifier.reset();
    if (m_connection)
        xcb_disconnect(m_connection);
    m_connection = nullptr;
    m_followed = 0;
}

void X11FullScreenWindows::onEvents()
{
    bool moved = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
            const auto* notify = reinterpret_cast<xcb_property_notify_event_t*>(event);
            moved = moved || (notify->window == m_root && notify->atom == m_atoms->activeWindow)
                || (notify->window == m_followed && notify->atom == m_atoms->state);
        }
        // Errors (a window gone before it was read) need nothing: the next change reads afresh.
        std::free(event);
    }
    if (xcb_connection_has_error(m_connection)) {
        // The display went away (its server ended): nothing is full screen any more.
        disconnectDisplay();
        m_support = Support::noDisplay;
        if (m_current) {
            m_current.reset();
            emit changed();
        }
        return;
    }
    if (moved)
        refresh();
}

void X11FullScreenWindows::follow(quint32 window)
{
    if (window == m_followed)
        return;
    // The window asked of before may be gone: an error, read and dropped.
    const std::uint32_t none = XCB_EVENT_MASK_NO_EVENT;
    const std::uint32_t changes = XCB_EVENT_MASK_PROPERTY_CHANGE;
    if (m_followed)
        xcb_change_window_attributes(m_connection, m_followed, XCB_CW_EVENT_MASK, &none);
    if (window)
        xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &changes);
    m_followed = window;
}

void X11FullScreenWindows::refresh()
{
    const Atoms& atoms = *m_atoms;
    auto active = readProperty(
        m_connection, xcb_get_property(m_connection, 0, m_root, atoms.activeWindow, XCB_ATOM_WINDOW, 0, 1));
    const xcb_window_t window = active && active->format == 32 && xcb_get_property_value_length(active.get()) >= 4
        ? *static_cast<const xcb_window_t*>(xcb_get_property_value(active.get()))
        : XCB_NONE;
    follow(window);

    std::optional<Window> found;
    if (window != XCB_NONE) {
        const auto stateCookie = xcb_get_property(m_connection, 0, window, atoms.state, XCB_ATOM_ATOM, 0, 64);
        const auto pidCookie = xcb_get_property(m_connection, 0, window, atoms.pid, XCB_ATOM_CARDINAL, 0, 1);
        const auto classCookie = xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64);
        auto state = readProperty(m_connection, stateCookie);
        auto pid = readProperty(m_connection, pidCookie);
        auto windowClass = readProperty(m_connection, classCookie);
        bool fullScreen = false;
        if (state && state->format == 32) {
            const auto* list = static_cast<const xcb_atom_t*>(xcb_get_property_value(state.get()));
            const int count = xcb_get_property_value_length(state.get()) / 4;
            fullScreen = std::find(list, list + count, atoms.fullScreen) != list + count;
        }
        const qint64 owner = pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) >= 4
            ? *static_cast<const std::uint32_t*>(xcb_get_property_value(pid.get()))
            : 0;
        if (fullScreen && owner != QCoreApplication::applicationPid()) {
            const QString className = windowClassOf(windowClass.get());
            found = Window{owner, className, className};
        }
    }
    xcb_flush(m_connection);
    if (found == m_current)
        return;
    m_current = found;
    emit changed();
}

} // namespace quillon::platform::linux_
