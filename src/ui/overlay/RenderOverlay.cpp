#include "RenderOverlay.h"

#include "OverlayBackdrop.h"
#include "ui/QmlView.h"
#include "ui/panel/RenderView.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QScreen>
#include <QWindow>

namespace quillon::ui {

RenderOverlay::RenderOverlay(RenderView& view, QObject* parent)
    : QObject(parent)
    , m_view(view)
{
    connect(&m_view, &RenderView::changed, this, &RenderOverlay::sync);
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::screenAdded, this, [this] {
            dropWindows();
            sync();
        });
        connect(app, &QGuiApplication::screenRemoved, this, [this] {
            dropWindows();
            sync();
        });
    }
}

RenderOverlay::~RenderOverlay() = default;

void RenderOverlay::dropWindows()
{
    // Render Mode is switched off from inside the overlay too (its Exit
    // button, Esc), while that window's QML handler is still running: the
    // windows are hidden now and deleted once control is back in the event loop.
    for (auto& window : m_windows) {
        if (auto* drawn = qobject_cast<QmlView*>(window.get()))
            drawn->get()->hide();
        else
            static_cast<QWindow*>(window.get())->hide();
        window.release()->deleteLater();
    }
    m_windows.clear();
}

void RenderOverlay::retranslate()
{
    if (QQmlEngine* engine = QmlView::sharedEngine(); engine && !m_windows.empty())
        engine->retranslate();
}

void RenderOverlay::sync()
{
    if (!m_view.enabled()) {
        dropWindows();
        return;
    }
    if (!m_windows.empty())
        return;
    const bool x11 = QGuiApplication::platformName() == QLatin1String("xcb");
    for (QScreen* screen : QGuiApplication::screens()) {
        if (x11) {
            auto backdrop = std::make_unique<OverlayBackdrop>(screen, m_view);
            backdrop->showFullScreen();
            m_windows.push_back(std::move(backdrop));
        } else {
            m_windows.push_back(drawnOverlay(screen));
        }
    }
}

std::unique_ptr<QObject> RenderOverlay::drawnOverlay(QScreen* screen)
{
    auto view = std::make_unique<QmlView>(QStringLiteral("qrc:/qml/RenderOverlay.qml"),
        QVariantMap{{QStringLiteral("render"), QVariant::fromValue(static_cast<QObject*>(&m_view))},
            {QStringLiteral("color"), OverlayBackdrop::dim()}},
        QQuickView::SizeRootObjectToView);
    QQuickView* window = view->get();
    window->setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window->setColor(Qt::transparent);
    window->setTitle(QStringLiteral("Quillon Render Mode"));
    window->setScreen(screen);
    window->setGeometry(screen->geometry());
    window->showFullScreen();
    return view;
}

} // namespace quillon::ui
