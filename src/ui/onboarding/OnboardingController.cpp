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
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}

void OnboardingController::create()
{
    m_view = std::make_unique<QQuickView>();
    m_view->setTitle(QString::fromUtf8(kWindowTitle));
    // No title bar, as on the Mac: the page is the whole window, moved by its
    // background and closed by its own button or Escape.
    m_view->setFlags(Qt::Window | Qt::FramelessWindowHint);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setInitialProperties({{QStringLiteral("onboarding"), QVariant::fromValue<QObject*>(this)}});
    m_view->setSource(QUrl(QStringLiteral("qrc:/qml/Onboarding.qml")));
    if (m_view->status() == QQuickView::Error) {
        for (const QQmlError& error : m_view->errors())
            qWarning().noquote() << error.toString();
    }
    const QSize size(kWidth, kHeight);
    m_view->resize(size);
    m_view->setMinimumSize(size);
    m_view->setMaximumSize(size);
    QScreen* screen = QGuiApplication::primaryScreen();
    if (screen)
        m_view->setPosition(screen->availableGeometry().center() - QPoint(kWidth / 2, kHeight / 2));
    m_view->installEventFilter(this);
}

QVariantList OnboardingController::pages() const
{
    return OnboardingPages::forQml();
}

void OnboardingController::retranslate()
{
    if (!m_view)
        return;
    m_view->engine()->retranslate();
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
        m_view->close();
}

bool OnboardingController::eventFilter(QObject* watched, QEvent* event)
{
    if (m_view && watched == m_view.get() && event->type() == QEvent::Close)
        windowWillClose();
    return QObject::eventFilter(watched, event);
}

void OnboardingController::windowWillClose()
{
    // The window is in the middle of its close (and maybe of a QML handler):
    // it goes once that is over.
    m_view->removeEventFilter(this);
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
