#include "X11GlobalShortcuts.h"

#include "QtXcb.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QStringList>
#include <QtGui/qguiapplication_platform.h>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace quillon::platform::linux_ {

namespace {

constexpr xcb_keysym_t kNumLock = 0xff7f; // XK_Num_Lock
constexpr std::uint16_t kSuperAlt = XCB_MOD_MASK_4 | XCB_MOD_MASK_1;
constexpr std::uint16_t kModifierBits = 0xff; // Shift .. Mod5; the rest are mouse buttons

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// The keyboard mapping: keysyms per keycode, from the first keycode on.
struct KeyboardMap {
    xcb_keycode_t first = 0;
    int perKeycode = 0;
    QList<xcb_keysym_t> keysyms;

    static KeyboardMap read(xcb_connection_t* c)
    {
        const xcb_setup_t* setup = xcb_get_setup(c);
        KeyboardMap map;
        map.first = setup->min_keycode;
        const int count = setup->max_keycode - setup->min_keycode + 1;
        Reply<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
            c, xcb_get_keyboard_mapping(c, map.first, static_cast<std::uint8_t>(count)), nullptr));
        if (!reply)
            return map;
        map.perKeycode = reply->keysyms_per_keycode;
        const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(reply.get());
        const int length = xcb_get_keyboard_mapping_keysyms_length(reply.get());
        map.keysyms = QList<xcb_keysym_t>(syms, syms + length);
        return map;
    }

    // The keycodes whose first group (unshifted or shifted level) carries one of these keysyms.
    QList<xcb_keycode_t> keycodesOf(std::initializer_list<xcb_keysym_t> wanted) const
    {
        QList<xcb_keycode_t> codes;
        if (perKeycode <= 0)
            return codes;
        for (int i = 0; i * perKeycode < keysyms.size(); ++i) {
            for (int level = 0; level < std::min(perKeycode, 2); ++level) {
                if (std::find(wanted.begin(), wanted.end(), keysyms[i * perKeycode + level]) != wanted.end()) {
                    codes.append(static_cast<xcb_keycode_t>(first + i));
                    break;
                }
            }
        }
        return codes;
    }
};

// The modifier bit Num_Lock sets, from the server's modifier mapping (Mod2
// on most, but nothing guarantees it); 0 when no modifier carries it.
std::uint16_t numLockMask(xcb_connection_t* c, const KeyboardMap& map)
{
    const QList<xcb_keycode_t> numLockKeys = map.keycodesOf({kNumLock});
    Reply<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(c, xcb_get_modifier_mapping(c), nullptr));
    if (!reply || numLockKeys.isEmpty())
        return 0;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply.get());
    const int perModifier = reply->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int k = 0; k < perModifier; ++k) {
            if (numLockKeys.contains(codes[modifier * perModifier + k]))
                return static_cast<std::uint16_t>(1u << modifier);
        }
    }
    return 0;
}

QString describe(char key)
{
    return QStringLiteral("Super+Alt+%1").arg(QChar::fromLatin1(key).toUpper());
}

} // namespace

X11GlobalShortcuts::X11GlobalShortcuts(QObject* parent)
    : GlobalShortcuts(parent)
    , m_connection(QtXcb::connection())
{
    if (m_connection)
        QCoreApplication::instance()->installNativeEventFilter(this);
}

X11GlobalShortcuts::~X11GlobalShortcuts()
{
    // The connection goes with the application: nothing to give back then.
    if (m_connection && QtXcb::guiApplication()) {
        unregisterShortcuts();
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }
}

bool X11GlobalShortcuts::available()
{
    return QtXcb::connection() != nullptr;
}

void X11GlobalShortcuts::registerShortcuts(const QList<Shortcut>& shortcuts)
{
    unregisterShortcuts();
    if (!m_connection) {
        setState({false, false, {}, QStringLiteral("not an X11 session")});
        return;
    }
    m_roots.clear();
    for (auto it = xcb_setup_roots_iterator(xcb_get_setup(m_connection)); it.rem; xcb_screen_next(&it))
        m_roots.append(it.data->root);

    const KeyboardMap map = KeyboardMap::read(m_connection);
    const std::uint16_t numLock = numLockMask(m_connection, map);
    m_ignoredModifiers = XCB_MOD_MASK_LOCK | numLock;
    QList<std::uint16_t> variants{kSuperAlt, kSuperAlt | XCB_MOD_MASK_LOCK};
    if (numLock != 0)
        variants << (kSuperAlt | numLock) << (kSuperAlt | XCB_MOD_MASK_LOCK | numLock);

    QStringList taken;
    QStringList unmapped;
    int heldCount = 0;
    for (const Shortcut& shortcut : shortcuts) {
        const char lower = shortcut.key;
        const char upper = static_cast<char>(QChar::fromLatin1(lower).toUpper().toLatin1());
        const QList<xcb_keycode_t> keycodes
            = map.keycodesOf({static_cast<xcb_keysym_t>(lower), static_cast<xcb_keysym_t>(upper)});
        if (keycodes.isEmpty()) {
            unmapped << describe(shortcut.key);
            continue;
        }
        // Checked requests: an error (BadAccess when another client holds the
        // combination) comes back here, not through the event queue.
        QList<Grab> grabs;
        QList<xcb_void_cookie_t> cookies;
        for (const std::uint32_t root : std::as_const(m_roots)) {
            for (const xcb_keycode_t keycode : keycodes) {
                for (const std::uint16_t modifiers : std::as_const(variants)) {
                    grabs.append({root, keycode, modifiers});
                    // owner_events off: a press is reported on the root
                    // window even while a window of ours has the focus.
                    cookies.append(xcb_grab_key_checked(
                        m_connection, 0, root, modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
                }
            }
        }
        bool refused = false;
        for (const xcb_void_cookie_t cookie : std::as_const(cookies)) {
            if (Reply<xcb_generic_error_t> error{xcb_request_check(m_connection, cookie)})
                refused = true;
        }
        if (refused) {
            // All or nothing per shortcut: a half-grabbed one would fire only with CapsLock on.
            for (const Grab& g : std::as_const(grabs))
                xcb_ungrab_key(m_connection, g.keycode, g.root, g.modifiers);
            taken << describe(shortcut.key);
            continue;
        }
        m_grabs += grabs;
        for (const xcb_keycode_t keycode : keycodes)
            m_keys.insert(keycode, Key{shortcut.id});
        ++heldCount;
    }
    xcb_flush(m_connection);

    QStringList problems;
    if (!taken.isEmpty())
        problems << QStringLiteral("%1 taken by another program").arg(taken.join(QStringLiteral(" and ")));
    if (!unmapped.isEmpty())
        problems << QStringLiteral("%1 not on the keyboard map").arg(unmapped.join(QStringLiteral(" and ")));
    const bool all = heldCount == shortcuts.size();
    setState({all, false, heldCount > 0 ? QStringLiteral("X11") : QString(), problems.join(QStringLiteral("; "))});
}

void X11GlobalShortcuts::unregisterShortcuts()
{
    const bool had = !m_grabs.isEmpty() || m_state.held || !m_state.problem.isEmpty() || !m_state.through.isEmpty();
    for (const Grab& g : std::as_const(m_grabs))
        xcb_ungrab_key(m_connection, g.keycode, g.root, g.modifiers);
    if (!m_grabs.isEmpty())
        xcb_flush(m_connection);
    m_grabs.clear();
    m_keys.clear();
    if (had)
        setState({});
}

bool X11GlobalShortcuts::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (m_keys.isEmpty() || eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const std::uint8_t type = event->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
    const auto found = m_keys.find(key->detail);
    if (found == m_keys.end() || !m_roots.contains(key->event))
        return false;
    Key& k = found.value();
    // A release ends the press whatever the modifiers are by then (Super
    // and Alt are often let go first).
    if (type == XCB_KEY_RELEASE) {
        const bool ours = k.down;
        k.down = false;
        k.releasedAt = key->time;
        return ours;
    }
    if ((key->state & kModifierBits & ~m_ignoredModifiers) != kSuperAlt)
        return false;
    // Auto-repeat: either presses without releases (detectable auto-repeat)
    // or a release and a press with the same server time.
    const bool repeat = k.down || (k.releasedAt != 0 && k.releasedAt == key->time);
    k.down = true;
    if (!repeat)
        emit activated(k.id);
    return true;
}

void X11GlobalShortcuts::setState(State state)
{
    m_state = std::move(state);
    emit stateChanged();
}

} // namespace quillon::platform::linux_
