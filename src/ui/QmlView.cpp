#include "QmlView.h"

#include "panel/AppIconProvider.h"
#include "platform/linux/ResidentFilePages.h"

#include <QQmlEngine>
#include <malloc.h>

namespace quillon::ui {

namespace {

std::weak_ptr<QQmlEngine>& engineInUse()
{
    static std::weak_ptr<QQmlEngine> engine;
    return engine;
}

std::shared_ptr<QQmlEngine> engine()
{
    if (auto existing = engineInUse().lock())
        return existing;
    auto made = std::make_shared<QQmlEngine>();
    made->addImageProvider(QStringLiteral("appicon"), new AppIconProvider); // owned by the engine
    engineInUse() = made;
    return made;
}

// The files the windows' scenes run on and the tray icon hardly needs: Qt
// Quick and QML with their plugins, the compiled QML, text shaping and
// fonts. Only this thread maps them, and libraries stay loaded once loaded.
bool usedByWindows(QByteArrayView path)
{
    const QByteArrayView name = path.sliced(path.lastIndexOf('/') + 1);
    return name.startsWith("libQt6Qml") || name.startsWith("libQt6Quick") || path.contains("/qml/")
        || name.endsWith(".qmlc") || name.startsWith("libharfbuzz.") || name.startsWith("libfreetype.")
        || name.endsWith(".ttf") || name.endsWith(".otf") || name.endsWith(".ttc");
}

} // namespace

QmlView::QmlView(const QString& source, const QVariantMap& properties, QQuickView::ResizeMode mode)
    : m_engine(engine())
    , m_view(std::make_unique<QQuickView>(m_engine.get(), nullptr))
{
    m_view->setResizeMode(mode);
    m_view->setInitialProperties(properties);
    m_view->setSource(QUrl(source));
    if (m_view->status() == QQuickView::Error) {
        for (const QQmlError& error : m_view->errors())
            qWarning().noquote() << error.toString();
    }
}

QmlView::~QmlView()
{
    m_view.reset();
    const bool lastWindow = m_engine.use_count() == 1;
    m_engine.reset();
    // The allocator keeps what a scene freed for later, and the libraries'
    // pages the scene ran stay mapped; with no window left there is no later
    // soon, so both go back to the system.
    if (lastWindow) {
        ::malloc_trim(0);
        platform::linux_::ResidentFilePages::release(usedByWindows);
    }
}

void QmlView::expireWhenHiddenFor(int ms)
{
    m_expiry.setSingleShot(true);
    m_expiry.setInterval(ms);
    // Queued: the owner deletes this, which it cannot while the timer is firing.
    connect(&m_expiry, &QTimer::timeout, this, &QmlView::expired, Qt::QueuedConnection);
    connect(m_view.get(), &QWindow::visibleChanged, &m_expiry, [this](bool shown) {
        if (shown)
            m_expiry.stop();
        else
            m_expiry.start();
    });
}

QQmlEngine* QmlView::sharedEngine()
{
    return engineInUse().lock().get();
}

} // namespace quillon::ui
