#include "PkexecRunner.h"

#include <QProcess>

namespace quillon::platform::linux_ {

namespace {

constexpr int kDismissed = 126;
const QByteArray kStartedMarker = QByteArrayLiteral("quillon: running as root");

// What the process wrote on standard error: the failing command's own words.
QString errorText(QProcess& process)
{
    return QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
}

} // namespace

PkexecRunner::PkexecRunner(QString program, QObject* parent)
    : QObject(parent)
    , m_program(std::move(program))
{
}

QString PkexecRunner::noAgentText()
{
    return QStringLiteral("No password dialog is available: no polkit authentication agent runs in this session. "
                          "Start your desktop's authentication agent and try again.");
}

void PkexecRunner::run(const QString& script, Done done)
{
    auto* process = new QProcess(this);
    process->setProgram(m_program);
    // The marker goes first, in the same shell, so that it shows only once root runs the script.
    process->setArguments({QStringLiteral("--disable-internal-agent"), QStringLiteral("/bin/sh"), QStringLiteral("-c"),
        QStringLiteral("echo '%1'\n").arg(QString::fromLatin1(kStartedMarker)) + script});
    process->setStandardInputFile(QProcess::nullDevice());

    connect(process, &QProcess::errorOccurred, this, [process, done](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        process->deleteLater();
        done({Result::Kind::failed,
            QStringLiteral("%1 could not be started: %2").arg(process->program(), process->errorString())});
    });
    connect(process, &QProcess::finished, this, [process, done](int exitCode, QProcess::ExitStatus status) {
        process->deleteLater();
        const bool ranAsRoot = process->readAllStandardOutput().contains(kStartedMarker);
        const QString error = errorText(*process);
        if (status == QProcess::NormalExit && exitCode == 0 && ranAsRoot) {
            done({Result::Kind::success, {}});
        } else if (!ranAsRoot && status == QProcess::NormalExit && exitCode == kDismissed) {
            done({Result::Kind::dismissed, {}});
        } else if (!ranAsRoot && error.contains(QLatin1String("authentication agent"), Qt::CaseInsensitive)) {
            done({Result::Kind::failed, noAgentText()});
        } else if (!error.isEmpty()) {
            done({Result::Kind::failed, error});
        } else if (status != QProcess::NormalExit) {
            done({Result::Kind::failed, QStringLiteral("The script was killed before it finished")});
        } else if (ranAsRoot) {
            done({Result::Kind::failed, QStringLiteral("The script stopped with exit code %1").arg(exitCode)});
        } else {
            done({Result::Kind::failed,
                QStringLiteral("Root rights were not granted (pkexec exit code %1)").arg(exitCode)});
        }
    });
    process->start();
}

} // namespace quillon::platform::linux_
