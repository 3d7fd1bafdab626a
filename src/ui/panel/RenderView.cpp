#include "RenderView.h"

#include "app/Settings.h"
#include "app/automation/RenderModeManager.h"
#include "app/fan/FanController.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace quillon::ui {

namespace {

QString degrees(double value)
{
    return QStringLiteral("%1°").arg(std::lround(value));
}

} // namespace

RenderView::RenderView(
    app::RenderModeManager& render, const app::FanController& fan, const app::Settings& settings, QObject* parent)
    : QObject(parent)
    , m_render(render)
    , m_fan(fan)
{
    connect(&settings, &app::Settings::changed, this, [this](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::appLanguage))
            emit changed();
    });
    connect(&m_render, &app::RenderModeManager::enabledChanged, this, [this] {
        m_hadSession = m_hadSession || m_render.enabled();
        emit changed();
    });
    connect(&m_render, &app::RenderModeManager::sampled, this, &RenderView::changed);
    connect(m_render.davinci(), &app::DaVinciMonitor::changed, this, &RenderView::changed);
    connect(&m_fan, &app::FanController::temperaturesChanged, this, &RenderView::changed);
    connect(&m_fan, &app::FanController::fansChanged, this, &RenderView::changed);
}

bool RenderView::enabled() const
{
    return m_render.enabled();
}

void RenderView::setEnabled(bool on)
{
    m_render.setEnabled(on);
}

QString RenderView::summary() const
{
    if (!m_render.enabled())
        return tr("Off");
    return tr("On · %1 · %2").arg(elapsed(), progressText());
}

QString RenderView::elapsed() const
{
    return m_render.elapsedText();
}

QString RenderView::project() const
{
    return m_render.monitor().project();
}

QString RenderView::progressText() const
{
    using Unreachable = app::DaVinciMonitor::Unreachable;
    const app::DaVinciMonitor& davinci = m_render.monitor();
    switch (davinci.unreachable()) {
    case Unreachable::none:
        break;
    case Unreachable::noInterpreter:
        return tr("Following DaVinci Resolve needs Python 3 (%1 is missing)").arg(davinci.interpreter());
    case Unreachable::notInstalled:
        return tr("DaVinci Resolve's scripting is not installed (%1)").arg(davinci.scriptingFolder());
    case Unreachable::notRunning:
        return tr("DaVinci Resolve is not running, or its external scripting is off (Preferences › System › "
                  "General › External scripting using: Local)");
    case Unreachable::unknown:
        return tr("Waiting for DaVinci Resolve");
    }
    if (davinci.jobIndex() > 0)
        return tr("Job %1 of %2 · %3 %").arg(davinci.jobIndex()).arg(davinci.jobTotal()).arg(davinci.percent());
    return davinci.rendering() ? tr("Rendering") : tr("No render running");
}

int RenderView::percent() const
{
    const app::DaVinciMonitor& davinci = m_render.monitor();
    return davinci.available() && davinci.jobIndex() > 0 ? std::clamp(davinci.percent(), 0, 100) : -1;
}

QString RenderView::liveText() const
{
    QStringList parts;
    if (const auto cpu = m_fan.cpuTempSmoothed() ? m_fan.cpuTempSmoothed() : m_fan.cpuTemp())
        parts << tr("CPU %1").arg(degrees(*cpu));
    if (const auto gpu = m_fan.gpuTempSmoothed())
        parts << tr("GPU %1").arg(degrees(*gpu));
    int fastest = 0;
    for (const app::FanInfo& fan : m_fan.fans())
        fastest = std::max(fastest, fan.currentRPM);
    if (!m_fan.fans().isEmpty())
        parts << tr("fans %1 rpm").arg(fastest);
    return parts.join(QStringLiteral(" · "));
}

QString RenderView::peaksText() const
{
    const QString throttling = m_render.throttleCount() != 0 ? QStringLiteral("%1×").arg(m_render.throttleCount())
                                                             : app::RenderModeManager::tr("never");
    using app::RenderModeManager;
    const auto peak = [](bool seen, double value) {
        return seen ? std::optional(value) : std::nullopt;
    };
    return tr("Peaks: CPU %1 / GPU %2 · fans %3 · throttling %4")
        .arg(RenderModeManager::degreesOrDash(peak(m_render.sawCPU(), m_render.peakCPU())),
            RenderModeManager::degreesOrDash(peak(m_render.sawGPU(), m_render.peakGPU())),
            m_render.sawFans() ? tr("%1 rpm").arg(m_render.peakRPM()) : QStringLiteral("—"), throttling);
}

QString RenderView::powerText() const
{
    return m_render.powerText();
}

QString RenderView::finishedText() const
{
    if (!m_render.enabled() || !m_render.monitor().justFinished())
        return {};
    switch (m_render.monitor().outcome()) {
    case app::DaVinciMonitor::Outcome::complete:
        return tr("Render finished — %1").arg(m_render.doneSummary());
    case app::DaVinciMonitor::Outcome::cancelled:
        return tr("Render cancelled");
    case app::DaVinciMonitor::Outcome::failed:
        return tr("Render failed");
    case app::DaVinciMonitor::Outcome::stopped:
    case app::DaVinciMonitor::Outcome::none:
        break;
    }
    return tr("Render stopped, not reported complete");
}

bool RenderView::finishedComplete() const
{
    return m_render.monitor().outcome() == app::DaVinciMonitor::Outcome::complete;
}

QString RenderView::lastSummary() const
{
    return m_render.enabled() || !m_hadSession ? QString() : m_render.doneSummary();
}

} // namespace quillon::ui
