#include "EventLoop.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

namespace quillon::test {

void ensureCoreApplication()
{
    static int argc = 1;
    static char name[] = "quillon-test";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv); // lives as long as the process
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeout.count())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(5);
    }
    return true;
}

} // namespace quillon::test
