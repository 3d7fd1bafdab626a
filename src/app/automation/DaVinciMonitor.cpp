#include "DaVinciMonitor.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QProcessEnvironment>
#include <algorithm>
#include <csignal>
#include <unistd.h>

namespace quillon::app {

namespace {

int integer(const QJsonObject& object, const char* key, int low, int high)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isDouble())
        return 0;
    const double number = value.toDouble();
    return number < low ? low : number > high ? high : static_cast<int>(number);
}

QString text(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

// A name fit for one line of a label: no control characters, not too long.
QString oneLine(QString name, int maxChars)
{
    for (QChar& c : name) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    if (name.size() > maxChars)
        name = name.left(maxChars - 1) + QChar(0x2026);
    return name;
}

DaVinciMonitor::Outcome outcomeOf(const QString& status)
{
    if (status == QLatin1String("Complete"))
        return DaVinciMonitor::Outcome::complete;
    if (status == QLatin1String("Cancelled"))
        return DaVinciMonitor::Outcome::cancelled;
    if (status == QLatin1String("Failed"))
        return DaVinciMonitor::Outcome::failed;
    return DaVinciMonitor::Outcome::stopped;
}

// The whole group, so nothing the script started outlives it.
void killGroup(QProcess& run)
{
    if (const qint64 pid = run.processId(); pid > 0)
        ::kill(-static_cast<pid_t>(pid), SIGKILL);
    run.kill();
}

} // namespace

DaVinciMonitor::DaVinciMonitor(QString interpreter, QString scriptingFolder, int runTimeoutMs, QObject* parent)
    : QObject(parent)
    , m_interpreter(std::move(interpreter))
    , m_scriptingFolder(std::move(scriptingFolder))
{
    if (m_scriptingFolder.isEmpty())
        m_scriptingFolder = qEnvironmentVariable("QUILLON_RESOLVE_SCRIPT_API");
    if (m_scriptingFolder.isEmpty())
        m_scriptingFolder = qEnvironmentVariable("RESOLVE_SCRIPT_API", QLatin1String(defaultScriptingFolder));
    m_timer.setInterval(pollIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &DaVinciMonitor::poll);
    m_runTimeout.setSingleShot(true);
    m_runTimeout.setInterval(runTimeoutMs);
    connect(&m_runTimeout, &QTimer::timeout, this, [this] {
        dropRun();
        apply(std::nullopt);
    });
}

DaVinciMonitor::~DaVinciMonitor()
{
    dropRun();
}

QString DaVinciMonitor::script()
{
    return QStringLiteral(
        "import os,sys,json\n"
        "try:\n"
        "    sys.path.append(os.environ[\"RESOLVE_SCRIPT_API\"]+\"/Modules/\")\n"
        "    try: import DaVinciResolveScript as dvr\n"
        "    except ImportError: print(json.dumps({\"ok\":False,\"reason\":\"nomodule\"})); sys.exit(0)\n"
        "    r=dvr.scriptapp(\"Resolve\")\n"
        "    if not r: print(json.dumps({\"ok\":False,\"reason\":\"noscripting\"})); sys.exit(0)\n"
        "    p=r.GetProjectManager().GetCurrentProject()\n"
        "    if not p: print(json.dumps({\"ok\":True,\"rendering\":False,\"total\":0})); sys.exit(0)\n"
        "    rendering=bool(p.IsRenderingInProgress())\n"
        "    jobs=p.GetRenderJobList() or []\n"
        "    pct=0; idx=0; job=\"\"; watched=\"\"; w=os.environ.get(\"QUILLON_WATCHED_JOB\",\"\")\n"
        "    for i,j in enumerate(jobs):\n"
        "        jid=j.get(\"JobId\"); st=p.GetRenderJobStatus(jid) or {}\n"
        "        if w and str(jid)==w: watched=str(st.get(\"JobStatus\",\"\"))\n"
        "        if not idx and st.get(\"JobStatus\")==\"Rendering\":\n"
        "            pct=int(st.get(\"CompletionPercentage\",0)); idx=i+1; job=str(jid)\n"
        "    print(json.dumps({\"ok\":True,\"rendering\":rendering,\"percent\":pct,\"index\":idx,"
        "\"total\":len(jobs),\"project\":p.GetName(),\"job\":job,\"watched\":watched}))\n"
        "except Exception as e:\n"
        "    print(json.dumps({\"ok\":False,\"reason\":str(e)[:120]}))");
}

void DaVinciMonitor::start()
{
    stop();
    poll();
    m_timer.start();
}

void DaVinciMonitor::stop()
{
    m_timer.stop();
    dropRun();
    m_available = false;
    m_rendering = false;
    m_percent = 0;
    m_jobIndex = 0;
    m_jobTotal = 0;
    m_justFinished = false;
    m_wasRendering = false;
    m_renderingJob.clear();
    m_outcome = Outcome::none;
    emit changed();
}

void DaVinciMonitor::poll()
{
    if (m_run)
        return; // the last run is still going; its timeout decides
    const QFileInfo interpreter(m_interpreter);
    if (!interpreter.isFile() || !interpreter.isExecutable()) {
        applyUnreachable(Unreachable::noInterpreter);
        return;
    }
    auto* run = new QProcess(this);
    m_run = run;
    m_output.clear();
    m_outputTooLong = false;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("RESOLVE_SCRIPT_API"), m_scriptingFolder);
    environment.insert(QStringLiteral("RESOLVE_SCRIPT_LIB"),
        qEnvironmentVariable("RESOLVE_SCRIPT_LIB", QLatin1String(defaultScriptLibrary)));
    environment.insert(QStringLiteral("QUILLON_WATCHED_JOB"), m_renderingJob);
    run->setProcessEnvironment(environment);
    run->setWorkingDirectory(QStringLiteral("/"));
    run->setChildProcessModifier([] { ::setpgid(0, 0); });
    run->setStandardErrorFile(QProcess::nullDevice());
    connect(run, &QProcess::readyReadStandardOutput, this, [this, run] {
        m_output += run->readAllStandardOutput();
        if (m_output.size() > maxOutputBytes) {
            m_outputTooLong = true;
            killGroup(*run);
        }
    });
    connect(run, &QProcess::finished, this, [this, run](int exitCode, QProcess::ExitStatus status) {
        if (run != m_run)
            return;
        m_output += run->readAllStandardOutput();
        finishRun(status == QProcess::NormalExit && exitCode == 0);
    });
    connect(run, &QProcess::errorOccurred, this, [this, run](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart && run == m_run) {
            dropRun();
            applyUnreachable(Unreachable::noInterpreter);
        }
    });
    m_runTimeout.start();
    // -B: nothing is written into Resolve's folder (its Modules' bytecode).
    run->start(m_interpreter, {QStringLiteral("-I"), QStringLiteral("-B"), QStringLiteral("-c"), script()});
}

void DaVinciMonitor::finishRun(bool cleanExit)
{
    const QByteArray output = m_output;
    const bool tooLong = m_outputTooLong || output.size() > maxOutputBytes;
    dropRun();
    std::optional<QJsonObject> result;
    if (cleanExit && !tooLong) {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(output, &error);
        if (error.error == QJsonParseError::NoError && document.isObject())
            result = document.object();
    }
    apply(result);
}

void DaVinciMonitor::dropRun()
{
    m_runTimeout.stop();
    if (!m_run)
        return;
    QProcess* run = m_run;
    m_run = nullptr;
    run->disconnect(this);
    if (run->state() == QProcess::NotRunning) {
        run->deleteLater();
        return;
    }
    // Reaped when Qt sees it exit; nobody waits here.
    killGroup(*run);
    connect(run, &QProcess::finished, run, &QObject::deleteLater);
}

void DaVinciMonitor::applyUnreachable(Unreachable why)
{
    apply(std::nullopt);
    m_unreachable = why;
    emit changed();
}

void DaVinciMonitor::apply(const std::optional<QJsonObject>& result)
{
    const bool ok = result && result->value(QLatin1String("ok")) == QJsonValue(true);
    if (!ok) {
        const QString reason = result ? text(*result, "reason") : QString();
        m_unreachable = reason == QLatin1String("noscripting") ? Unreachable::notRunning
            : reason == QLatin1String("nomodule")              ? Unreachable::notInstalled
                                                               : Unreachable::unknown;
        // Not reachable. What a running render left behind is kept, so a
        // finish is still seen by the next successful poll.
        m_available = false;
        m_rendering = false;
        m_percent = 0;
        emit changed();
        return;
    }
    m_available = true;
    m_unreachable = Unreachable::none;
    const QJsonValue renderingValue = result->value(QLatin1String("rendering"));
    bool rendering = renderingValue.isBool() && renderingValue.toBool();
    m_percent = integer(*result, "percent", 0, 100);
    m_jobTotal = integer(*result, "total", 0, maxJobs);
    m_jobIndex = integer(*result, "index", 0, m_jobTotal);
    m_project = oneLine(text(*result, "project"), maxProjectChars);
    const QString watched = text(*result, "watched");
    // Resolve may say it stopped a poll before the job's status does: the
    // ending is read once the status has moved on.
    if (m_wasRendering && !rendering && watched == QLatin1String("Rendering"))
        rendering = true;
    if (const QString job = text(*result, "job"); rendering && !job.isEmpty())
        m_renderingJob = job.left(maxProjectChars);
    bool finished = false;
    if (m_wasRendering && !rendering) {
        m_justFinished = true;
        m_outcome = outcomeOf(watched);
        m_renderingJob.clear();
        finished = true;
    } else if (rendering) {
        m_justFinished = false;
    }
    m_rendering = rendering;
    m_wasRendering = rendering;
    emit changed();
    if (finished && onRenderFinished)
        onRenderFinished();
}

} // namespace quillon::app
