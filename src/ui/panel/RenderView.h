#pragma once

#include <QObject>
#include <QString>

namespace quillon::app {
class FanController;
class RenderModeManager;
class Settings;
} // namespace quillon::app

namespace quillon::ui {

// Render Mode as the panel's section and the dim overlay show it: the switch,
// DaVinci Resolve's progress (or that it is not reachable), the live and
// peak temperatures and fan speed, the power line, and the summary of the
// last session. Every text is in the installed translator's language.
class RenderView : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QString elapsed READ elapsed NOTIFY changed)
    Q_PROPERTY(QString project READ project NOTIFY changed)
    Q_PROPERTY(QString progressText READ progressText NOTIFY changed)
    Q_PROPERTY(int percent READ percent NOTIFY changed)
    Q_PROPERTY(QString liveText READ liveText NOTIFY changed)
    Q_PROPERTY(QString peaksText READ peaksText NOTIFY changed)
    Q_PROPERTY(QString powerText READ powerText NOTIFY changed)
    Q_PROPERTY(QString finishedText READ finishedText NOTIFY changed)
    Q_PROPERTY(bool finishedComplete READ finishedComplete NOTIFY changed)
    Q_PROPERTY(QString lastSummary READ lastSummary NOTIFY changed)

public:
    RenderView(app::RenderModeManager& render, const app::FanController& fan, const app::Settings& settings,
        QObject* parent = nullptr);

    bool enabled() const;
    void setEnabled(bool on);
    // "Off", or "On · 12m 05s" with the job's progress.
    QString summary() const;
    QString elapsed() const;
    QString project() const;
    // "Job 2 of 3 · 42 %", "No render running", "Waiting for DaVinci Resolve".
    QString progressText() const;
    // The running job's percent, or -1 when nothing renders.
    int percent() const;
    // "CPU 71° · GPU 60° · fans 3900 rpm", what is known of it.
    QString liveText() const;
    // "Peaks: CPU 78° / GPU 64° · fans 4100 rpm · throttling never".
    QString peaksText() const;
    QString powerText() const;
    // After a render ended while on: "Render finished" with the summary when
    // its job completed, else that it was cancelled, failed or stopped; else "".
    QString finishedText() const;
    // Whether the render behind finishedText completed.
    bool finishedComplete() const;
    // The last session's summary, while off; "" before any session.
    QString lastSummary() const;

signals:
    void changed();

private:
    app::RenderModeManager& m_render;
    const app::FanController& m_fan;
    bool m_hadSession = false;
};

} // namespace quillon::ui
