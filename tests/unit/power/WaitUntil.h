#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <functional>

namespace quillon::test {

// Runs the event loop until done() holds or timeoutMs have passed; true when
// done() held.
inline bool waitUntil(const std::function<bool()>& done, int timeoutMs = 3000)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

} // namespace quillon::test
