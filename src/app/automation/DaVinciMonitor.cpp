#include "DaVinciMonitor.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QProcessEnvironment>

namespace quillon::app {

namespace {

int integer(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    return value.isDouble() ? value.toInt() : 0;
}

} // namespace

DaVinciMonitor::DaVinciMonitor(QString interpreter, QString scriptingFolder, int runTimeoutMs, QObject* parent)
    : QObject(parent)
    , m_interpreter(std::move(interpreter))
    , m_scriptingFolder(std::move(scriptingFolder))
{
    if (m_scriptingFolder.isEmpty())
        m_scriptingFolder = qEnvironmentVariable("QUILLON_RESOLVE_SCRIPT_API", QLatin1String(defaultScriptingFolder));
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
        "    import DaVinciResolveScript as dvr\n"
        "    r=dvr.scriptapp(\"Resolve\")\n"
        "    if not r: print(json.dumps({\"ok\":False,\"reason\":\"noscripting\"})); sys.exit(0)\n"
        "    p=r.GetProjectManager().GetCurrentProject()\n"
        "    if not p: print(json.dumps({\"ok\":True,\"rendering\":False,\"total\":0})); sys.exit(0)\n"
        "    rendering=bool(p.IsRenderingInProgress())\n"
        "    jobs=p.GetRenderJobList() or []\n"
        "    pct=0; idx=0\n"
        "    for i,j in enumerate(jobs):\n"
        "        st=p.GetRenderJobStatus(j.get(\"JobId\")) or {}\n"
        "        if st.get(\"JobStatus\")==\"Rendering\":\n"
        "            pct=int(st.get(\"CompletionPercentage\",0)); idx=i+1; break\n"
        "    print(json.dumps({\"ok\":True,\"rendering\":rendering,\"percent\":pct,\"index\":idx,"
        "\"total\":len(jobs),\"project\":p.GetName()}))\n"
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
    emit changed();
}

void DaVinciMonitor::poll()
{
    if (m_run)
        return; // the last run is still going; its timeout decides
    const QFileInfo interpreter(m_interpreter);
    if (!interpreter.isFile() || !interpreter.isExecutable()) {
        apply(std::nullopt);
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
    run->setProcessEnvironment(environment);
    run->setStandardErrorFile(QProcess::nullDevice());
    connect(run, &QProcess::readyReadStandardOutput, this, [this, run] {
        m_output += run->readAllStandardOutput();
        if (m_output.size() > maxOutputBytes) {
            m_outputTooLong = true;
            run->kill();
        }
    });
    connect(run, &QProcess::finished, this, [this, run](int exitCode, QProcess::ExitStatus status) {
        if (run != m_run)
            return;
        m_output += run->readAllStandardOutput();
        finishRun(status == QProcess::NormalExit && exitCode == 0);
    });
    connect(run, &QProcess::errorOccurred, this, [this, run](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart && run == m_run)
            finishRun(false);
    });
    m_runTimeout.start();
    run->start(m_interpreter, {QStringLiteral("-c"), script()});
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
    if (run->state() != QProcess::NotRunning) {
        run->kill();
        run->waitForFinished(1000); // reaped now: nothing is left running after stop()
    }
    run->deleteLater();
}

void DaVinciMonitor::apply(const std::optional<QJsonObject>& result)
{
    const bool ok = result && result->value(QLatin1String("ok")) == QJsonValue(true);
    if (!ok) {
        // Not reachable. What a running render left behind is kept, so a
        // finish is still seen by the next successful poll.
        m_available = false;
        m_rendering = false;
        m_percent = 0;
        emit changed();
        return;
    }
    m_available = true;
    const QJsonValue renderingValue = result->value(QLatin1String("rendering"));
    const bool rendering = renderingValue.isBool() && renderingValue.toBool();
    m_percent = integer(*result, "percent");
    m_jobIndex = integer(*result, "index");
    m_jobTotal = integer(*result, "total");
    m_project = result->value(QLatin1String("project")).toString();
    bool finished = false;
    if (m_wasRendering && !rendering) {
        m_justFinished = true;
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
