#include "AwakeView.h"

#include "PanelTexts.h"
#include "app/Lang.h"
#include "app/Settings.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/SleepManager.h"
#include "platform/Clock.h"

#include <QLocale>
#include <algorithm>

namespace quillon::ui {

namespace {

QDateTime wholeMinutes(const QDateTime& at)
{
    const QDateTime local = at.toLocalTime();
    return QDateTime(local.date(), QTime(local.time().hour(), local.time().minute()));
}

} // namespace

AwakeView::AwakeView(app::SleepManager& manager, app::Settings& settings, const platform::Clock& clock, QObject* parent)
    : QObject(parent)
    , m_manager(manager)
    , m_settings(settings)
    , m_clock(clock)
    , m_customEnd(wholeMinutes(clock.now().addSecs(kCustomDefaultS)))
{
    connect(&manager, &app::SleepManager::sessionChanged, this, &AwakeView::changed);
    connect(&manager, &app::SleepManager::sessionChanged, this, &AwakeView::kindsChanged);
    connect(&manager, &app::SleepManager::nowChanged, this, &AwakeView::changed);
    connect(&settings, &app::Settings::changed, this, [this](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::appLanguage)) {
            emit changed();
            emit kindsChanged();
            emit customChanged();
        }
    });
}

QString AwakeView::summary() const
{
    return PanelTexts::awakeSummary(m_manager);
}

QVariantList AwakeView::kinds() const
{
    QVariantList list;
    for (const auto kind : app::SleepAssertions::allKinds) {
        list.append(
            QVariantMap{{"name", app::SleepAssertions::rawValue(kind)}, {"label", app::SleepAssertions::label(kind)},
                {"active",
                    m_manager.assertions().holding(kind)
                        || m_manager.assertions().state(kind).phase == app::SleepAssertions::KindState::Phase::paused},
                {"note", app::SleepAssertions::note(m_manager.assertions().state(kind))}});
    }
    return list;
}

QVariantList AwakeView::durations() const
{
    QVariantList list;
    for (const int seconds : app::SleepManager::sleepDurations)
        list.append(QVariantMap{{"label", PanelTexts::durationLabel(seconds)}, {"seconds", seconds}});
    return list;
}

bool AwakeView::active() const
{
    return !m_manager.activeKinds().isEmpty();
}

void AwakeView::setCustomPickerShown(bool shown)
{
    if (shown == m_customPickerShown)
        return;
    m_customPickerShown = shown;
    if (shown && !customEndInFuture())
        m_customEnd = wholeMinutes(m_clock.now().addSecs(kCustomDefaultS));
    emit customChanged();
}

bool AwakeView::german() const
{
    return app::Lang::isGerman(m_settings);
}

QDate AwakeView::today() const
{
    return m_clock.now().toLocalTime().date();
}

QStringList AwakeView::customDays() const
{
    const QLocale locale(german() ? QStringLiteral("de_DE") : QStringLiteral("en_US"));
    const QString format = german() ? QStringLiteral("ddd d. MMM") : QStringLiteral("ddd d MMM");
    QStringList days;
    for (int day = 0; day < kCustomDays; ++day)
        days.append(locale.toString(today().addDays(day), format));
    return days;
}

int AwakeView::customDay() const
{
    return static_cast<int>(today().daysTo(m_customEnd.date()));
}

QString AwakeView::customEndText() const
{
    return PanelTexts::customEnd(m_customEnd, m_clock.now(), german());
}

bool AwakeView::customEndInFuture() const
{
    return m_customEnd > m_clock.now();
}

void AwakeView::setCustomEnd(int day, int hour, int minute)
{
    const QDate date = today().addDays(std::clamp(day, 0, kCustomDays - 1));
    m_customEnd = QDateTime(date, QTime(std::clamp(hour, 0, 23), std::clamp(minute, 0, 59)));
    emit customChanged();
}

QStringList AwakeView::sessionKinds() const
{
    QStringList names;
    for (const auto kind : app::SleepAssertions::allKinds) {
        if (m_manager.activeKinds().contains(kind))
            names.append(app::SleepAssertions::rawValue(kind));
    }
    if (names.isEmpty())
        names = {QStringLiteral("system"), QStringLiteral("display")};
    return names;
}

void AwakeView::stayAwakeFor(int seconds)
{
    m_manager.applyNames(sessionKinds(), m_clock.now().addSecs(seconds));
}

void AwakeView::stayAwakeUntilCustom()
{
    if (!customEndInFuture())
        return;
    m_manager.applyNames(sessionKinds(), m_customEnd);
    setCustomPickerShown(false);
}

void AwakeView::toggleKind(const QString& name)
{
    m_manager.toggleName(name);
}

bool AwakeView::paused() const
{
    return m_manager.pause()->paused();
}

QString AwakeView::pausedText() const
{
    return PanelTexts::pausedText(m_manager);
}

QVariantList AwakeView::pauseChoices() const
{
    const QString untilResumed = tr("Until I resume");
    QVariantList list;
    for (const int seconds : kPauseSeconds)
        list.append(QVariantMap{{"label", PanelTexts::durationLabel(seconds)}, {"seconds", seconds}});
    list.append(QVariantMap{{"label", untilResumed}, {"seconds", 0}});
    return list;
}

void AwakeView::pauseFor(int seconds)
{
    m_manager.pause()->pause(seconds > 0 ? std::optional(m_clock.now().addSecs(seconds)) : std::optional<QDateTime>());
}

void AwakeView::resume()
{
    m_manager.pause()->resume();
}

void AwakeView::stop()
{
    m_manager.applyNames({}, QDateTime());
}

} // namespace quillon::ui
