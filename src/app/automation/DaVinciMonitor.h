#pragma once

#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>
#include <QTimer>
#include <functional>
#include <optional>

namespace quillon::app {

// Follows DaVinci Resolve's render queue while Render Mode is on: every 3 s
// it runs the system's Python with a short script that asks Resolve's
// scripting interface and prints one JSON object, and publishes what that
// says (reachable, rendering, percent of the running job, job n of m,
// project). A render that was running and stops raises justFinished and
// calls onRenderFinished, once per such stop.
//
// One run at a time: a tick while a run is still going starts nothing, and a
// run that takes longer than its timeout (10 s) is killed and counts as a failed
// poll. Anything that is not one JSON object on a clean exit (no
// interpreter, a crash, garbage, more than maxOutputBytes) counts as "not
// reachable". stop() kills a run in progress and ignores it.
//
// Resolve's answers are outside input: numbers are clamped to what can be
// true (percent 0-100, job n of m with 0 <= n <= m) and the project name is
// cut to maxProjectChars, with control characters made spaces.
//
// A render that stops ends with its job's status: only "Complete" is a
// finished render; "Cancelled" and "Failed" say so, and a job that vanished
// or never named itself is just "stopped".
//
// Each run is "python3 -I -B" from "/", in a process group of its own, so
// neither the app's working directory nor the user's site packages get
// imported, and whatever the script starts dies with it. Main thread only;
// the interpreter runs as a child process and nothing here waits for it.
class DaVinciMonitor : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool available READ available NOTIFY changed)
    Q_PROPERTY(bool rendering READ rendering NOTIFY changed)
    Q_PROPERTY(int percent READ percent NOTIFY changed)
    Q_PROPERTY(int jobIndex READ jobIndex NOTIFY changed)
    Q_PROPERTY(int jobTotal READ jobTotal NOTIFY changed)
    Q_PROPERTY(QString project READ project NOTIFY changed)
    Q_PROPERTY(bool justFinished READ justFinished NOTIFY changed)

public:
    // How the last render that stopped ended.
    enum class Outcome {
        none,
        complete,
        cancelled,
        failed,
        stopped
    };
    // Why the last poll did not reach Resolve, where that is known.
    enum class Unreachable {
        none,          // reached
        noInterpreter, // no Python at the interpreter's path
        notInstalled,  // Resolve's scripting module is not in the scripting folder
        notRunning,    // Resolve is not running, or its external scripting is off
        unknown,       // anything else: an exception, a crash, garbage, a timeout
    };

    static constexpr int pollIntervalMs = 3000;
    static constexpr int defaultRunTimeoutMs = 10000;
    static constexpr qint64 maxOutputBytes = 64 * 1024;
    static constexpr int maxProjectChars = 120;
    static constexpr int maxJobs = 100000;

    // Where Resolve keeps its scripting interface on Linux.
    static constexpr const char* defaultScriptingFolder = "/opt/resolve/Developer/Scripting";
    static constexpr const char* defaultScriptLibrary = "/opt/resolve/libs/Fusion/fusionscript.so";

    // interpreter: the Python to run; scriptingFolder: Resolve's Scripting
    // folder (QUILLON_RESOLVE_SCRIPT_API, else the user's RESOLVE_SCRIPT_API,
    // else the default, when empty);
    // runTimeoutMs: how long one run may take before it is killed.
    explicit DaVinciMonitor(QString interpreter = QStringLiteral("/usr/bin/python3"), QString scriptingFolder = {},
        int runTimeoutMs = defaultRunTimeoutMs, QObject* parent = nullptr);
    ~DaVinciMonitor() override;

    bool available() const { return m_available; }
    bool rendering() const { return m_rendering; }
    int percent() const { return m_percent; }
    int jobIndex() const { return m_jobIndex; }
    int jobTotal() const { return m_jobTotal; }
    QString project() const { return m_project; }
    bool justFinished() const { return m_justFinished; }
    // How the render behind justFinished ended; none before any.
    Outcome outcome() const { return m_outcome; }
    Unreachable unreachable() const { return m_unreachable; }
    const QString& interpreter() const { return m_interpreter; }
    const QString& scriptingFolder() const { return m_scriptingFolder; }
    bool running() const { return m_timer.isActive(); }
    const QTimer& pollTimer() const { return m_timer; }

    // Called once per running-to-stopped transition; set by Render Mode.
    std::function<void()> onRenderFinished;

    // Stops, then polls at once and every pollIntervalMs.
    void start();
    // Stops polling, kills a run in progress, and clears everything but the project.
    void stop();
    // Starts one run unless one is still going. The timer's handler.
    void poll();
    // Takes one poll's result: the script's object, or nullopt for a failed run.
    void apply(const std::optional<QJsonObject>& result);

    // The inline script; it reads Resolve's locations from RESOLVE_SCRIPT_API
    // and RESOLVE_SCRIPT_LIB in its environment and always prints one object.
    // It also reports the status of the job named by QUILLON_WATCHED_JOB, the
    // one last seen rendering, as "watched".
    static QString script();

signals:
    void changed();

private:
    void finishRun(bool cleanExit);
    void dropRun();
    void applyUnreachable(Unreachable why);

    QString m_interpreter;
    QString m_scriptingFolder;
    QTimer m_timer;
    QTimer m_runTimeout;
    QPointer<QProcess> m_run;
    QByteArray m_output;
    bool m_outputTooLong = false;

    bool m_available = false;
    bool m_rendering = false;
    int m_percent = 0;
    int m_jobIndex = 0;
    int m_jobTotal = 0;
    QString m_project;
    bool m_justFinished = false;
    bool m_wasRendering = false;
    QString m_renderingJob; // the JobId last seen rendering
    Outcome m_outcome = Outcome::none;
    Unreachable m_unreachable = Unreachable::unknown;
};

} // namespace quillon::app
