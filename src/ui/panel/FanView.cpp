#include "FanView.h"

#include "PanelTexts.h"
#include "ThrottleBadge.h"
#include "app/Settings.h"
#include "app/fan/FanController.h"

#include <algorithm>

namespace quillon::ui {

namespace {
using Profile = core::CoolingProfile;
} // namespace

FanView::FanView(app::FanController& fan, app::Settings& settings, QObject* parent)
    : QObject(parent)
    , m_fan(fan)
{
    using Fan = app::FanController;
    for (auto signal : {&Fan::coolingChanged, &Fan::boostChanged, &Fan::helperStateChanged, &Fan::spinUpChanged,
             &Fan::nowChanged, &Fan::temperaturesChanged, &Fan::thermalStateChanged})
        connect(&fan, signal, this, &FanView::changed);
    connect(&fan, &Fan::fansChanged, this, &FanView::fansChanged);
    connect(&fan, &Fan::coolingChanged, this, &FanView::curveChanged);
    for (auto signal : {&Fan::coolingChanged, &Fan::temperaturesChanged})
        connect(&fan, signal, this, &FanView::markerChanged);
    connect(&settings, &app::Settings::changed, this, [this](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::appLanguage)) {
            emit changed();
            emit fansChanged();
            emit languageChanged();
        }
    });
    m_settle.setSingleShot(true);
    m_settle.setInterval(kSliderSettleMs);
    connect(&m_settle, &QTimer::timeout, this, &FanView::sendSlider);
    // A floor set elsewhere (a script, a manager) moves the resting slider.
    connect(&fan, &app::FanController::coolingChanged, this, [this] {
        if (!m_settle.isActive() && m_fan.manualPercent() != m_manualSlider) {
            m_manualSlider = m_fan.manualPercent();
            emit sliderChanged();
        }
    });
}

QString FanView::status() const
{
    return PanelTexts::fanStatus(m_fan);
}

QString FanView::temperatures() const
{
    return PanelTexts::temperatures(m_fan);
}

int FanView::fanCount() const
{
    return static_cast<int>(m_fan.fans().size());
}

QStringList FanView::fanSpeeds() const
{
    return PanelTexts::fanSpeeds(m_fan);
}

QString FanView::boostCountdown() const
{
    return PanelTexts::boostCountdown(m_fan);
}

QString FanView::triggerNote() const
{
    return PanelTexts::triggerNote(m_fan);
}

QString FanView::helperLine() const
{
    return PanelTexts::helperLine(m_fan);
}

QString FanView::helperAction() const
{
    return PanelTexts::helperAction(m_fan);
}

QVariantList FanView::profiles() const
{
    QVariantList list;
    for (const Profile::Kind kind : Profile::allCases) {
        list.append(QVariantMap{{"kind", QString::fromLatin1(Profile::rawValue(kind))},
            {"label", PanelTexts::profileName(kind)}, {"blurb", PanelTexts::profileBlurb(kind)}});
    }
    return list;
}

QString FanView::blurb() const
{
    return PanelTexts::profileBlurb(m_fan.coolingProfile());
}

QVariantList FanView::curvePoints() const
{
    QVariantList list;
    for (const Profile::Point& point : Profile::points(m_fan.triggerProfile().value_or(m_fan.coolingProfile())))
        list.append(QVariantMap{{"temp", point.temp}, {"percent", point.percent}});
    return list;
}

QVariant FanView::curveMarker() const
{
    const auto celsius = m_fan.cpuTempSmoothed() ? m_fan.cpuTempSmoothed() : m_fan.cpuTemp();
    if (!celsius)
        return {};
    const Profile::Kind kind = m_fan.triggerProfile().value_or(m_fan.coolingProfile());
    return QVariantMap{{"temp", *celsius}, {"percent", Profile::floorPercent(kind, *celsius)}};
}

QVariantList FanView::boostChoices() const
{
    QVariantList list;
    for (const int seconds : kBoostChoices)
        list.append(QVariantMap{{"label", PanelTexts::durationLabel(seconds)}, {"seconds", seconds}});
    return list;
}

void FanView::setManualSlider(double percent)
{
    m_manualSlider = std::clamp(percent, 0.0, 100.0);
    m_settle.start();
    emit sliderChanged();
}

void FanView::commitSlider()
{
    if (m_settle.isActive())
        sendSlider();
}

void FanView::sendSlider()
{
    m_settle.stop();
    m_fan.setManualFloor(m_manualSlider);
    emit sliderChanged();
}

void FanView::chooseBoost(int seconds)
{
    m_fan.setBoostDuration(seconds);
    if (m_fan.fansEnabled() && m_fan.coolingMode() == app::CoolingMode::manual)
        m_fan.setManualFloor(m_fan.manualPercent());
}

bool FanView::badgeVisible() const
{
    return ThrottleBadge::info(m_fan.thermalState()).has_value();
}

QString FanView::badgeText() const
{
    const auto info = ThrottleBadge::info(m_fan.thermalState());
    return info ? info->text : QString();
}

QColor FanView::badgeColor() const
{
    const auto info = ThrottleBadge::info(m_fan.thermalState());
    return info ? info->color : QColor();
}

} // namespace quillon::ui
