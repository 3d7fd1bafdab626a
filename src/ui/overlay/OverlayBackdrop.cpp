#include "OverlayBackdrop.h"

#include "platform/linux/X11WindowBackground.h"
#include "ui/panel/RenderView.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QtMath>
#include <QScreen>
#include <QSurfaceFormat>
#include <algorithm>

namespace quillon::ui {

namespace {

constexpr int kContentMaxWidth = 640;
constexpr int kContentSideMargin = 40;
constexpr int kExitFromBottom = 64;

QVariant asProperty(RenderView& render)
{
    return QVariant::fromValue(static_cast<QObject*>(&render));
}

} // namespace

OverlayBackdrop::OverlayBackdrop(QScreen* screen, RenderView& render)
    : m_render(render)
    , m_content(QStringLiteral("qrc:/qml/RenderOverlayContent.qml"),
          QVariantMap{{QStringLiteral("render"), asProperty(render)}}, QQuickView::SizeViewToRootObject)
    , m_exit(QStringLiteral("qrc:/qml/RenderOverlayExit.qml"), QVariantMap{{QStringLiteral("render"), asProperty(render)}},
          QQuickView::SizeViewToRootObject)
{
    setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setTitle(QStringLiteral("Quillon Render Mode"));
    // An alpha visual, so a compositor blends the dim as it blends a drawn one.
    QSurfaceFormat format;
    format.setAlphaBufferSize(8);
    setFormat(format);
    setScreen(screen);
    setGeometry(screen->geometry());
    platform::linux_::X11WindowBackground::fillByServer(*this, dim());
    for (QmlView* part : {&m_content, &m_exit}) {
        QQuickView* view = part->get();
        view->setColor(dim());
        view->setParent(this);
        connect(view, &QWindow::widthChanged, this, &OverlayBackdrop::place);
        connect(view, &QWindow::heightChanged, this, &OverlayBackdrop::place);
    }
    place();
    m_content.get()->show();
    m_exit.get()->show();
}

OverlayBackdrop::~OverlayBackdrop() = default;

void OverlayBackdrop::place()
{
    if (QQuickItem* figures = m_content.get()->rootObject())
        figures->setWidth(std::min(width() - 2 * kContentSideMargin, kContentMaxWidth));
    // The items' sizes are fractional: the windows take the whole pixels
    // that hold them, and sit where anchoring in the full screen puts them.
    const auto fit = [](QQuickView* view, auto y) {
        const QQuickItem* root = view->rootObject();
        if (!root)
            return;
        view->resize(qCeil(root->width()), qCeil(root->height()));
        view->setPosition(qRound((view->parent()->width() - root->width()) / 2), qFloor(y(root->height())));
    };
    fit(m_content.get(), [this](qreal h) { return (height() - h) / 2; });
    fit(m_exit.get(), [this](qreal h) { return height() - kExitFromBottom - h; });
}

void OverlayBackdrop::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        m_render.setEnabled(false);
    else
        QWindow::keyPressEvent(event);
}

void OverlayBackdrop::resizeEvent(QResizeEvent* event)
{
    QWindow::resizeEvent(event);
    place();
}

} // namespace quillon::ui
