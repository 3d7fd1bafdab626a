#include "SettingsController.h"

#include "SettingsView.h"

#include <QQmlEngine>
#include <QQuickView>

namespace quillon::ui {

SettingsController::SettingsController(SettingsView& view, QObject* parent)
    : QObject(parent)
    , m_view(view)
{
}

SettingsController::~SettingsController() = default;

void SettingsController::create()
{
    m_window = std::make_unique<QQuickView>();
    m_window->setResizeMode(QQuickView::SizeViewToRootObject);
    m_window->setInitialProperties({{QStringLiteral("settings"), QVariant::fromValue<QObject*>(&m_view)}});
    m_window->setSource(QUrl(QStringLiteral("qrc:/qml/Settings.qml")));
    if (m_window->status() == QQuickView::Error) {
        for (const QQmlError& error : m_window->errors())
            qWarning().noquote() << error.toString();
    }
    retranslate();
}

void SettingsController::show()
{
    if (!m_window)
        create();
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}

bool SettingsController::isVisible() const
{
    return m_window && m_window->isVisible();
}

void SettingsController::retranslate()
{
    if (!m_window)
        return;
    m_window->setTitle(tr("Quillon Settings"));
    m_window->engine()->retranslate();
}

} // namespace quillon::ui
