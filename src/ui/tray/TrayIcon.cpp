#include "TrayIcon.h"

#include "GaugeIcon.h"
#include "platform/TrayColors.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QPalette>
#include <QSystemTrayIcon>

namespace quillon::ui {

namespace {
const QString kWatcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
constexpr int kPollIntervalMs = 1000;
} // namespace

TrayIcon::TrayIcon(const platform::TrayColors* colors, QObject* parent)
    : QObject(parent)
    , m_colors(colors)
{
    qApp->installEventFilter(this);
    if (m_colors)
        connect(m_colors, &platform::TrayColors::changed, this, &TrayIcon::redraw);
    if (trayPresent())
        create();
    else
        waitForTray();
}

TrayIcon::~TrayIcon()
{
    qApp->removeEventFilter(this);
}

bool TrayIcon::trayPresent()
{
    // Qt's own answer fixes, for the whole process, whether it uses a
    // StatusNotifierItem host; so look for one on the bus first. Only X11 has
    // a second kind of tray (XEmbed), and only there is Qt asked.
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface()->isServiceRegistered(kWatcherService).value())
        return true;
    return QGuiApplication::platformName() == QLatin1String("xcb") && QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayIcon::waitForTray()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        m_watcher
            = std::make_unique<QDBusServiceWatcher>(kWatcherService, bus, QDBusServiceWatcher::WatchForRegistration);
        connect(m_watcher.get(), &QDBusServiceWatcher::serviceRegistered, this, &TrayIcon::create);
    }
    m_poll.setInterval(kPollIntervalMs);
    connect(&m_poll, &QTimer::timeout, this, [this] {
        if (++m_waitedS >= kMaxWaitS) {
            qWarning("Quillon: no system tray appeared in %d s; the icon may stay hidden. "
                     "`quillon ctl` works all the same.",
                kMaxWaitS);
            create();
        } else if (trayPresent()) {
            create();
        }
    });
    m_poll.start();
}

void TrayIcon::create()
{
    if (m_icon)
        return;
    m_poll.stop();
    m_watcher.reset();
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setToolTip(QStringLiteral("Quillon"));
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // No context menu: every button opens the panel, which has Quit. The
        // second of two quick clicks arrives as a double click.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context
            || reason == QSystemTrayIcon::DoubleClick)
            emit clicked();
    });
    redraw();
    m_icon->show();
}

void TrayIcon::show(const IconState& state)
{
    if (m_drawn && state == m_state)
        return;
    m_state = state;
    redraw();
}

void TrayIcon::redraw()
{
    if (!m_icon)
        return;
    const QString mark = m_state.title.isEmpty() && !m_state.paused.isEmpty() ? QStringLiteral("‖") : m_state.title;
    m_icon->setIcon(GaugeIcon::gaugeImage(m_state.active, ink(), mark));
    QString tip = QStringLiteral("Quillon") + m_state.title;
    if (!m_state.paused.isEmpty())
        tip += QLatin1Char('\n') + m_state.paused;
    m_icon->setToolTip(tip);
    m_drawn = true;
}

QColor TrayIcon::ink() const
{
    if (const auto tray = m_colors ? m_colors->foreground() : std::nullopt)
        return *tray;
    return QApplication::palette().color(QPalette::Active, QPalette::WindowText);
}

QRect TrayIcon::geometry() const
{
    return m_icon ? m_icon->geometry() : QRect();
}

bool TrayIcon::eventFilter(QObject* watched, QEvent* event)
{
    // A switch between light and dark follows the palette (where the tray
    // tells no colour of its own).
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        redraw();
    return QObject::eventFilter(watched, event);
}

} // namespace quillon::ui
