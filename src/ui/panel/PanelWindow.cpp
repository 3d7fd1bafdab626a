#include "PanelWindow.h"

#include "PanelPlacement.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

namespace quillon::ui {

PanelWindow::PanelWindow(QVariantMap objects, QObject* parent)
    : QObject(parent)
    , m_objects(std::move(objects))
{
}

PanelWindow::~PanelWindow() = default;

void PanelWindow::create()
{
    m_view = std::make_unique<QmlView>(
        QStringLiteral("qrc:/qml/Panel.qml"), m_objects, QQuickView::SizeViewToRootObject);
    QQuickView* view = m_view->get();
    view->setTitle(QStringLiteral("Quillon"));
    view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    connect(view, &QWindow::activeChanged, this, [this, view] {
        if (!view->isActive() && view->isVisible()) {
            m_lostFocus.start();
            hide();
        }
    });
    // The panel grows and shrinks as sections open: keep it against its edge.
    connect(view, &QWindow::heightChanged, this, [this, view] {
        if (view->isVisible())
            place();
    });
    connect(view, &QWindow::visibleChanged, this, &PanelWindow::shownChanged);
    m_view->expireWhenHiddenFor(m_releaseAfterMs);
    connect(m_view.get(), &QmlView::expired, this, [this] { m_view.reset(); });
}

void PanelWindow::place()
{
    QScreen* screen = nullptr;
    const QPoint pointer = QCursor::pos();
    if (m_icon.isValid())
        screen = QGuiApplication::screenAt(m_icon.center());
    if (!screen)
        screen = QGuiApplication::screenAt(pointer);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const PanelPlacement::Screen area{screen->geometry(), screen->availableGeometry()};
    m_view->get()->setPosition(PanelPlacement::place(m_view->get()->size(), m_icon, pointer, area));
}

void PanelWindow::show(const QRect& icon)
{
    if (!m_view)
        create();
    m_icon = icon;
    place();
    QQuickView* view = m_view->get();
    view->show();
    view->raise();
    view->requestActivate();
}

void PanelWindow::hide()
{
    if (m_view)
        m_view->get()->hide();
}

bool PanelWindow::isVisible() const
{
    return m_view && m_view->get()->isVisible();
}

bool PanelWindow::justLostFocus() const
{
    return m_lostFocus.isValid() && m_lostFocus.elapsed() < kRefocusGraceMs;
}

void PanelWindow::retranslate()
{
    if (m_view)
        m_view->get()->engine()->retranslate();
}

} // namespace quillon::ui
