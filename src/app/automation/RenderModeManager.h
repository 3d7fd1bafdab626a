#pragma once

#include "DaVinciMonitor.h"
#include "app/power/RenderPowerStatus.h"
#include "app/power/SleepAssertions.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>

namespace quillon::platform {
class Clock;
class SoundPlayer;
} // namespace quillon::platform

namespace quillon::app {

class DriveManager;
class FanController;
class LidManager;
class Notifier;
class PowerSource;

// One switch for long video renders. While on it keeps the system and the
// network awake (not the display: the screen may sleep under the overlay),
// keeps external drives spinning, and, where the fan helper is installed,
// switches the closed-lid keep-awake on and asks for balanced cooling. It
// follows DaVinci Resolve's render queue and samples, once a second, the peak
// CPU and GPU temperatures, the peak fan speed and the throttling episodes.
// A finished render plays a sound and notifies, and Render Mode stays on;
// switching it off puts back what it changed and posts a closing report.
//
// There is no process activity to hold on Linux: a background process's
// timers are not throttled there, and the system assertion already holds off
// idle sleep for exactly as long as an activity would.
//
// Main thread only. The keep-awake manager creates it and fills in the
// links; each missing link skips just its own step. Tests call sample().
class RenderModeManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(QDateTime startedAt READ startedAt NOTIFY sessionChanged)
    Q_PROPERTY(QDateTime now READ now NOTIFY sampled)
    Q_PROPERTY(QString elapsedText READ elapsedText NOTIFY sampled)
    Q_PROPERTY(double peakCPU READ peakCPU NOTIFY sampled)
    Q_PROPERTY(double peakGPU READ peakGPU NOTIFY sampled)
    Q_PROPERTY(int peakRPM READ peakRPM NOTIFY sampled)
    Q_PROPERTY(int throttleCount READ throttleCount NOTIFY sampled)
    Q_PROPERTY(QString powerText READ powerText NOTIFY sampled)
    Q_PROPERTY(QString doneSummary READ doneSummary NOTIFY sampled)
    Q_PROPERTY(quillon::app::DaVinciMonitor* davinci READ davinci CONSTANT)

public:
    static constexpr int sampleIntervalMs = 1000;
    static constexpr double warmPeakCPU = 90.0; // a peak at or above this "ran warm"

    struct Parts {
        std::shared_ptr<platform::PowerAssertionBackend> assertions;
        const PowerSource* power = nullptr;     // may be null: no power line
        Notifier* notifier = nullptr;           // may be null: no notifications
        platform::SoundPlayer* sound = nullptr; // may be null: silent
        const platform::Clock* clock = nullptr;
        QString interpreter = QStringLiteral("/usr/bin/python3");
        QString scriptingFolder; // empty: QUILLON_RESOLVE_SCRIPT_API or Resolve's default
        bool startTimers = true;
    };

    explicit RenderModeManager(Parts parts, QObject* parent = nullptr);
    ~RenderModeManager() override;

    // Set once by the keep-awake manager.
    void setLinks(FanController* fan, LidManager* lid, DriveManager* drives);

    bool enabled() const { return m_enabled; }
    void setEnabled(bool on);

    QDateTime startedAt() const { return m_startedAt; }
    QDateTime now() const { return m_now; }
    double peakCPU() const { return m_peakCPU; }
    double peakGPU() const { return m_peakGPU; }
    int peakRPM() const { return m_peakRPM; }
    int throttleCount() const { return m_throttleCount; }
    const RenderPowerStatus& powerStatus() const { return m_powerStatus; }
    QString powerText() const;
    DaVinciMonitor* davinci() { return &m_davinci; }
    const DaVinciMonitor& monitor() const { return m_davinci; }
    const SleepAssertions& assertions() const { return m_assertions; }
    // The session's running time so far ("" while off), as durationString writes it.
    QString elapsedText() const;
    // Whether the session has seen a CPU / GPU temperature or a fan at all.
    bool sawCPU() const { return m_sawCPU; }
    bool sawGPU() const { return m_sawGPU; }
    bool sawFans() const { return m_sawFans; }
    // The session's summary, as summaryOf() writes it.
    QString doneSummary() const;
    // "Your Mac stayed cool · peak CPU 71° / GPU 64°", or "ran warm" with any
    // throttling or a CPU peak of warmPeakCPU or more. A peak that was never
    // read shows as "—", and without a CPU reading nor throttling there is no
    // verdict at all: nothing is known to have stayed cool.
    static QString summaryOf(std::optional<double> peakCPU, std::optional<double> peakGPU, int throttleCount);
    // "71°", or "—" when there was no reading.
    static QString degreesOrDash(std::optional<double> value);

    // "7m 05s" below an hour, "2h 03m" from an hour on; negative counts as 0.
    static QString durationString(double seconds);

    // The 1-second sampler, and the timer that runs it while on.
    void sample();
    const QTimer& sampleTimer() const { return m_sampleTimer; }

signals:
    void enabledChanged();
    void sessionChanged();
    void sampled();

private:
    void engage();
    void disengage();
    void renderFinished();

    Parts m_parts;
    QPointer<FanController> m_fan;
    QPointer<LidManager> m_lid;
    QPointer<DriveManager> m_drives;
    DaVinciMonitor m_davinci;
    SleepAssertions m_assertions;
    QTimer m_sampleTimer;

    bool m_enabled = false;
    QDateTime m_startedAt;
    QDateTime m_now;
    double m_peakCPU = 0.0;
    double m_peakGPU = 0.0;
    int m_peakRPM = 0;
    int m_throttleCount = 0;
    RenderPowerStatus m_powerStatus;
    bool m_lastThrottled = false;
    bool m_sawCPU = false;
    bool m_sawGPU = false;
    bool m_sawFans = false;
    bool m_priorLid = false;
    bool m_priorDrives = false;
    bool m_changedLid = false;
};

} // namespace quillon::app
