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

void PkexecRunner::run(const QString& scriptPath, Done done)
{
    auto* process = new QProcess(this);
    process->setProgram(m_program);
    // $0 of the inner shell is the script's path: no quoting is involved.
    process->setArguments({QStringLiteral("/bin/sh"), QStringLiteral("-c"),
        QStringLiteral("echo '%1'; exec /bin/sh \"$0\"").arg(QString::fromLatin1(kStartedMarker)), scriptPath});
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
