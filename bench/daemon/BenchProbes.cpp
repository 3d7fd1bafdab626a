#include "BenchProbes.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <ctime>

namespace quillon::bench {

double processCpuSeconds(qint64 pid)
{
    clockid_t clock;
    timespec ts{};
    if (::clock_getcpuclockid(static_cast<pid_t>(pid), &clock) != 0 || ::clock_gettime(clock, &ts) != 0)
        return 0;
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

double memoryMiB(qint64 pid, const char* field)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray prefix = QByteArray(field) + ':';
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed().split(' ').value(0).toDouble() / 1024.0;
    }
    return 0;
}

std::optional<double> secondsUntil(
    const std::function<bool()>& done, std::chrono::milliseconds timeout, const std::function<void()>& tick)
{
    QElapsedTimer timer;
    timer.start();
    qint64 lastTick = 0;
    while (timer.elapsed() < timeout.count()) {
        if (done())
            return static_cast<double>(timer.elapsed()) / 1000.0;
        if (tick && timer.elapsed() - lastTick >= 1000) {
            tick();
            lastTick = timer.elapsed();
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(20);
    }
    return std::nullopt;
}

} // namespace quillon::bench
