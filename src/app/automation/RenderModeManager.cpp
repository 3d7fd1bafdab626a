#include "RenderModeManager.h"

#include "app/Notifier.h"
#include "app/fan/FanController.h"
#include "app/power/DriveManager.h"
#include "app/power/LidManager.h"
#include "app/power/PowerSource.h"
#include "platform/Clock.h"
#include "platform/SoundPlayer.h"

#include <algorithm>
#include <cmath>

namespace quillon::app {

namespace {

std::optional<double> peak(bool seen, double value)
{
    return seen ? std::optional(value) : std::nullopt;
}

} // namespace

RenderModeManager::RenderModeManager(Parts parts, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_davinci(m_parts.interpreter, m_parts.scriptingFolder)
    , m_assertions(m_parts.assertions)
{
    m_now = m_parts.clock->now();
    m_sampleTimer.setInterval(sampleIntervalMs);
    connect(&m_sampleTimer, &QTimer::timeout, this, &RenderModeManager::sample);
}

RenderModeManager::~RenderModeManager()
{
    m_davinci.onRenderFinished = nullptr;
}

void RenderModeManager::setLinks(FanController* fan, LidManager* lid, DriveManager* drives)
{
    m_fan = fan;
    m_lid = lid;
    m_drives = drives;
}

void RenderModeManager::setEnabled(bool on)
{
    if (on == m_enabled)
        return;
    m_enabled = on;
    if (on)
        engage();
    else
        disengage();
    emit enabledChanged();
}

void RenderModeManager::engage()
{
    m_startedAt = m_parts.clock->now();
    m_now = m_startedAt;
    m_peakCPU = 0.0;
    m_peakGPU = 0.0;
    m_peakRPM = 0;
    m_throttleCount = 0;
    m_lastThrottled = false;
    m_sawCPU = m_sawGPU = m_sawFans = false;
    if (m_parts.power)
        m_powerStatus = m_parts.power->renderPowerStatus();

    m_assertions.start(SleepAssertions::Kind::system);
    m_assertions.start(SleepAssertions::Kind::network);

    m_priorDrives = m_drives && m_drives->enabled();
    if (m_drives)
        m_drives->setEnabled(true);

    if (m_fan && m_fan->helperInstalled()) {
        m_fan->requestCooling(core::CoolingProfile::Kind::balanced, QStringLiteral("render"));
        m_priorLid = m_lid && m_lid->enabled();
        if (m_lid)
            m_lid->setEnabled(true);
        m_changedLid = true;
    }
    if (m_parts.notifier)
        m_parts.notifier->requestAuthorizationIfNeeded();

    if (m_parts.startTimers)
        m_sampleTimer.start();
    QPointer<RenderModeManager> self(this);
    m_davinci.onRenderFinished = [self] {
        if (self)
            self->renderFinished();
    };
    if (m_parts.startTimers)
        m_davinci.start();
    emit sessionChanged();
    emit sampled();
}

void RenderModeManager::disengage()
{
    m_sampleTimer.stop();
    m_davinci.stop();
    m_assertions.stopAll();
    if (m_fan)
        m_fan->requestCooling(std::nullopt, QStringLiteral("render"));
    if (m_changedLid) {
        if (m_lid)
            m_lid->setEnabled(m_priorLid);
        m_changedLid = false;
    }
    if (m_drives)
        m_drives->setEnabled(m_priorDrives);

    if (m_startedAt.isValid()) {
        const double elapsed = static_cast<double>(m_startedAt.msecsTo(m_parts.clock->now())) / 1000.0;
        if (m_parts.notifier) {
            const QString throttling = m_throttleCount != 0 ? QStringLiteral("%1×").arg(m_throttleCount) : tr("never");
            const QString fans = m_sawFans ? tr("%1 rpm").arg(m_peakRPM) : QStringLiteral("—");
            m_parts.notifier->notify(tr("🎬 Render Mode ended"),
                tr("Ran %1 · peak CPU %2 / GPU %3 · fans max %4 · throttling %5")
                    .arg(durationString(elapsed), degreesOrDash(peak(m_sawCPU, m_peakCPU)),
                        degreesOrDash(peak(m_sawGPU, m_peakGPU)), fans, throttling));
        }
    }
    m_startedAt = QDateTime();
    emit sessionChanged();
    emit sampled();
}

void RenderModeManager::sample()
{
    m_now = m_parts.clock->now();
    if (m_parts.power)
        m_powerStatus = m_parts.power->renderPowerStatus();
    if (m_fan) {
        const std::optional<double> cpu = m_fan->cpuTempSmoothed() ? m_fan->cpuTempSmoothed() : m_fan->cpuTemp();
        if (cpu && (!m_sawCPU || *cpu > m_peakCPU))
            m_peakCPU = *cpu;
        m_sawCPU = m_sawCPU || cpu;
        // Only the smoothed GPU reading: a raw GPU spike is not a peak worth reporting.
        const auto gpu = m_fan->gpuTempSmoothed();
        if (gpu && (!m_sawGPU || *gpu > m_peakGPU))
            m_peakGPU = *gpu;
        m_sawGPU = m_sawGPU || gpu;
        m_sawFans = m_sawFans || !m_fan->fans().isEmpty();
        int fastest = 0;
        for (const FanInfo& fan : m_fan->fans())
            fastest = std::max(fastest, fan.currentRPM);
        m_peakRPM = std::max(m_peakRPM, fastest);
        const auto level = m_fan->thermalState();
        const bool throttled
            = level == platform::ThermalPressure::Level::serious || level == platform::ThermalPressure::Level::critical;
        if (throttled && !m_lastThrottled)
            ++m_throttleCount;
        m_lastThrottled = throttled;
    }
    emit sampled();
}

void RenderModeManager::renderFinished()
{
    // Only a job Resolve calls complete is a finished render, with its chime.
    const auto outcome = m_davinci.outcome();
    if (outcome == DaVinciMonitor::Outcome::complete && m_parts.sound)
        m_parts.sound->playFinished();
    if (!m_parts.notifier)
        return;
    switch (outcome) {
    case DaVinciMonitor::Outcome::complete:
        m_parts.notifier->notify(
            tr("🎬 Render finished"), tr("Your DaVinci render is done. Render Mode stays on until you exit it."));
        break;
    case DaVinciMonitor::Outcome::cancelled:
        m_parts.notifier->notify(
            tr("🎬 Render cancelled"), tr("Your DaVinci render was cancelled. Render Mode stays on until you exit it."));
        break;
    case DaVinciMonitor::Outcome::failed:
        m_parts.notifier->notify(
            tr("🎬 Render failed"), tr("Your DaVinci render failed. Render Mode stays on until you exit it."));
        break;
    case DaVinciMonitor::Outcome::stopped:
    case DaVinciMonitor::Outcome::none:
        m_parts.notifier->notify(tr("🎬 Render stopped"),
            tr("Your DaVinci render stopped without DaVinci Resolve calling it complete. Render Mode stays on "
               "until you exit it."));
        break;
    }
}

QString RenderModeManager::powerText() const
{
    return m_parts.power ? m_powerStatus.text() : QString();
}

QString RenderModeManager::elapsedText() const
{
    if (!m_startedAt.isValid())
        return {};
    return durationString(static_cast<double>(m_startedAt.msecsTo(m_now)) / 1000.0);
}

QString RenderModeManager::doneSummary() const
{
    return summaryOf(peak(m_sawCPU, m_peakCPU), peak(m_sawGPU, m_peakGPU), m_throttleCount);
}

QString RenderModeManager::summaryOf(std::optional<double> peakCPU, std::optional<double> peakGPU, int throttleCount)
{
    if (!peakCPU && throttleCount == 0)
        return tr("Peak CPU %1 / GPU %2").arg(degreesOrDash(peakCPU), degreesOrDash(peakGPU));
    const QString label
        = throttleCount == 0 && *peakCPU < warmPeakCPU ? tr("Your Mac stayed cool") : tr("Your Mac ran warm");
    return tr("%1 · peak CPU %2 / GPU %3").arg(label, degreesOrDash(peakCPU), degreesOrDash(peakGPU));
}

QString RenderModeManager::degreesOrDash(std::optional<double> value)
{
    return value ? QStringLiteral("%1°").arg(std::lround(*value)) : QStringLiteral("—");
}

QString RenderModeManager::durationString(double seconds)
{
    const qint64 s = seconds > 0 && std::isfinite(seconds) ? static_cast<qint64>(seconds) : 0;
    if (s < 3600)
        return QStringLiteral("%1m %2s").arg(s / 60).arg(s % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1h %2m").arg(s / 3600).arg((s % 3600) / 60, 2, 10, QLatin1Char('0'));
}

} // namespace quillon::app
