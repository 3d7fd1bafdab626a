#pragma once

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <array>

namespace quillon::platform {
class Clock;
}

namespace quillon::app {
class Settings;
class SleepManager;
} // namespace quillon::app

namespace quillon::ui {

// The keep-awake section's view: the three kinds, the "Stay awake for"
// durations, the custom end picker (a day within the next week, an hour and
// a minute; first set to 12 hours from when the panel was built), and the
// countdown and end of a running session, and the pause of keep-awake (30
// minutes, an hour, or until resumed). A duration or a custom end holds
// the kinds already on, or system and display when none is.
class AwakeView : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QVariantList kinds READ kinds NOTIFY kindsChanged)
    Q_PROPERTY(QVariantList durations READ durations CONSTANT)
    Q_PROPERTY(bool active READ active NOTIFY changed)
    Q_PROPERTY(bool customPickerShown READ customPickerShown WRITE setCustomPickerShown NOTIFY customChanged)
    Q_PROPERTY(QStringList customDays READ customDays NOTIFY customChanged)
    Q_PROPERTY(int customDay READ customDay NOTIFY customChanged)
    Q_PROPERTY(int customHour READ customHour NOTIFY customChanged)
    Q_PROPERTY(int customMinute READ customMinute NOTIFY customChanged)
    Q_PROPERTY(QString customEndText READ customEndText NOTIFY customChanged)
    Q_PROPERTY(bool customEndInFuture READ customEndInFuture NOTIFY customChanged)
    Q_PROPERTY(bool paused READ paused NOTIFY changed)
    Q_PROPERTY(QString pausedText READ pausedText NOTIFY changed)
    Q_PROPERTY(QVariantList pauseChoices READ pauseChoices NOTIFY kindsChanged)

public:
    static constexpr qint64 kCustomDefaultS = 43200;
    static constexpr int kCustomDays = 7;
    static constexpr std::array<int, 2> kPauseSeconds{1800, 3600};

    AwakeView(
        app::SleepManager& manager, app::Settings& settings, const platform::Clock& clock, QObject* parent = nullptr);

    QString summary() const;
    // {name, label, active} for system, display, network.
    QVariantList kinds() const;
    // {label, seconds} for 1, 4, 8, 12 and 24 hours.
    QVariantList durations() const;
    bool active() const;

    bool customPickerShown() const { return m_customPickerShown; }
    // Showing the picker moves an end that has passed to 12 hours from now.
    void setCustomPickerShown(bool shown);
    QStringList customDays() const;
    int customDay() const;
    int customHour() const { return m_customEnd.time().hour(); }
    int customMinute() const { return m_customEnd.time().minute(); }
    QDateTime customEnd() const { return m_customEnd; }
    QString customEndText() const;
    bool customEndInFuture() const;

    Q_INVOKABLE void stayAwakeFor(int seconds);
    // day: 0 today .. kCustomDays - 1; hour 0..23; minute 0..59.
    Q_INVOKABLE void setCustomEnd(int day, int hour, int minute);
    // Starts the session until the custom end (when it is still ahead) and closes the picker.
    Q_INVOKABLE void stayAwakeUntilCustom();
    Q_INVOKABLE void toggleKind(const QString& name);

    bool paused() const;
    QString pausedText() const;
    // {label, seconds} for 30 minutes, an hour, and 0: until resumed.
    QVariantList pauseChoices() const;
    // seconds 0: until resume().
    Q_INVOKABLE void pauseFor(int seconds);
    Q_INVOKABLE void resume();
    Q_INVOKABLE void stop();

signals:
    // The countdown and everything else that moves with the clock.
    void changed();
    // Only when kinds are switched (or the language changes): the switches are rebuilt then.
    void kindsChanged();
    void customChanged();

private:
    QStringList sessionKinds() const;
    bool german() const;
    QDate today() const;

    app::SleepManager& m_manager;
    app::Settings& m_settings;
    const platform::Clock& m_clock;
    bool m_customPickerShown = false;
    QDateTime m_customEnd; // local time, whole minutes
};

} // namespace quillon::ui
