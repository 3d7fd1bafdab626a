#include "Relaunch.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <cerrno>
#include <csignal>

namespace quillon::ui {

namespace {
// Running, not merely a zombie its parent has not reaped yet.
bool running(qint64 pid)
{
    if (::kill(static_cast<pid_t>(pid), 0) != 0 && errno != EPERM)
        return false;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = stat.readAll();
    const qsizetype afterName = line.lastIndexOf(')');
    return afterName < 0 || line.mid(afterName + 2, 1) != "Z";
}
} // namespace

bool Relaunch::start(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(kWaitForVariable), QString::number(QCoreApplication::applicationPid()));
    process.setProcessEnvironment(environment);
    return process.startDetached();
}

bool Relaunch::startAgain()
{
    return start(QCoreApplication::applicationFilePath(), QCoreApplication::arguments().mid(1));
}

void Relaunch::waitForPredecessor()
{
    bool ok = false;
    const qint64 pid = qEnvironmentVariable(kWaitForVariable).toLongLong(&ok);
    qunsetenv(kWaitForVariable);
    if (!ok || pid <= 1)
        return;
    const QDeadlineTimer deadline(kWaitLimitMs);
    while (!deadline.hasExpired() && running(pid))
        QThread::msleep(50);
}

} // namespace quillon::ui
