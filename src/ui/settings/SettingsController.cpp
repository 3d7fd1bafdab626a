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
    m_window = std::make_unique<QmlView>(QStringLiteral("qrc:/qml/Settings.qml"),
        QVariantMap{{QStringLiteral("settings"), QVariant::fromValue<QObject*>(&m_view)}},
        QQuickView::SizeViewToRootObject);
    m_window->expireWhenHiddenFor(m_releaseAfterMs);
    connect(m_window.get(), &QmlView::expired, this, [this] { m_window.reset(); });
    retranslate();
}

void SettingsController::show()
{
    if (!m_window)
        create();
    window()->show();
    window()->raise();
    window()->requestActivate();
}

bool SettingsController::isVisible() const
{
    return m_window && window()->isVisible();
}

void SettingsController::retranslate()
{
    if (!m_window)
        return;
    window()->setTitle(tr("Quillon Settings"));
    window()->engine()->retranslate();
}

} // namespace quillon::ui
