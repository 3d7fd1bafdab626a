#include "OnboardingController.h"

#include "OnboardingPages.h"
#include "app/Settings.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>
#include <QTimer>

namespace quillon::ui {

OnboardingController::OnboardingController(app::Settings& settings, QString version, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_version(std::move(version))
{
}

OnboardingController::~OnboardingController()
{
    delete m_closing.data();
}

bool OnboardingController::showIfFirstLaunch()
{
    if (m_settings.text(app::Settings::Key::onboardingSeenVersion) == m_version)
        return false;
    show();
    return true;
}

void OnboardingController::show()
{
    if (!m_view) {
        m_completedThisRun = false;
        create();
    }
    view()->show();
    view()->raise();
    view()->requestActivate();
}

void OnboardingController::create()
{
    m_view = std::make_unique<QmlView>(QStringLiteral("qrc:/qml/Onboarding.qml"),
        QVariantMap{{QStringLiteral("onboarding"), QVariant::fromValue<QObject*>(this)}},
        QQuickView::SizeRootObjectToView);
    QQuickView* window = view();
    window->setTitle(QString::fromUtf8(kWindowTitle));
    // No title bar, as on the Mac: the page is the whole window, moved by its
    // background and closed by its own button or Escape.
    window->setFlags(Qt::Window | Qt::FramelessWindowHint);
    const QSize size(kWidth, kHeight);
    window->resize(size);
    window->setMinimumSize(size);
    window->setMaximumSize(size);
    QScreen* screen = QGuiApplication::primaryScreen();
    if (screen)
        window->setPosition(screen->availableGeometry().center() - QPoint(kWidth / 2, kHeight / 2));
    window->installEventFilter(this);
}

QVariantList OnboardingController::pages() const
{
    return OnboardingPages::forQml();
}

void OnboardingController::retranslate()
{
    if (!m_view)
        return;
    view()->engine()->retranslate();
    emit pagesChanged();
}

void OnboardingController::finish()
{
    m_settings.setText(app::Settings::Key::onboardingSeenVersion, m_version);
    m_completedThisRun = true;
    close();
}

void OnboardingController::close()
{
    if (m_view)
        view()->close();
}

bool OnboardingController::eventFilter(QObject* watched, QEvent* event)
{
    if (m_view && watched == view() && event->type() == QEvent::Close)
        windowWillClose();
    return QObject::eventFilter(watched, event);
}

void OnboardingController::windowWillClose()
{
    // The window is in the middle of its close (and maybe of a QML handler):
    // it goes once that is over.
    view()->removeEventFilter(this);
    m_closing = m_view.release();
    m_closing->deleteLater();
    if (m_completedThisRun) {
        QTimer::singleShot(kFinishedDelayMs, this, [this] {
            if (m_onFinished)
                m_onFinished();
        });
    }
}

} // namespace quillon::ui
