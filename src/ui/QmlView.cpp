#include "QmlView.h"

#include "panel/AppIconProvider.h"

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
    // The allocator keeps what a scene freed for later; with no window
    // left there is no later soon, so it goes back to the system.
    if (lastWindow)
        ::malloc_trim(0);
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
