#include "PanelWindow.h"

#include "AppIconProvider.h"
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
    m_view = std::make_unique<QQuickView>();
    m_view->setTitle(QStringLiteral("Quillon"));
    m_view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_view->setResizeMode(QQuickView::SizeViewToRootObject);
    m_view->engine()->addImageProvider(QStringLiteral("appicon"), new AppIconProvider); // owned by the engine
    m_view->setInitialProperties(m_objects);
    m_view->setSource(QUrl(QStringLiteral("qrc:/qml/Panel.qml")));
    if (m_view->status() == QQuickView::Error) {
        for (const QQmlError& error : m_view->errors())
            qWarning().noquote() << error.toString();
    }
    connect(m_view.get(), &QWindow::activeChanged, this, [this] {
        if (!m_view->isActive() && m_view->isVisible()) {
            m_lostFocus.start();
            hide();
        }
    });
    // The panel grows and shrinks as sections open: keep it against its edge.
    connect(m_view.get(), &QWindow::heightChanged, this, [this] {
        if (m_view->isVisible())
            place();
    });
    connect(m_view.get(), &QWindow::visibleChanged, this, &PanelWindow::shownChanged);
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
    m_view->setPosition(PanelPlacement::place(m_view->size(), m_icon, pointer, area));
}

void PanelWindow::show(const QRect& icon)
{
    if (!m_view)
        create();
    m_icon = icon;
    place();
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}

void PanelWindow::hide()
{
    if (m_view)
        m_view->hide();
}

bool PanelWindow::isVisible() const
{
    return m_view && m_view->isVisible();
}

bool PanelWindow::justLostFocus() const
{
    return m_lostFocus.isValid() && m_lostFocus.elapsed() < kRefocusGraceMs;
}

void PanelWindow::retranslate()
{
    if (m_view)
        m_view->engine()->retranslate();
}

} // namespace quillon::ui
