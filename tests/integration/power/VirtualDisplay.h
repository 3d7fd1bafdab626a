#pragma once

#include "support/BusService.h"

#include <QProcess>

namespace quillon::test {

// A virtual X display (Xvfb) for desktop services that need one; gone with this object.
class VirtualDisplay {
public:
    VirtualDisplay()
    {
        m_x.start("Xvfb", {"-displayfd", "1", "-nolisten", "tcp"});
        if (waitUntil([&] { return m_x.canReadLine() || m_x.state() == QProcess::NotRunning; }) && m_x.canReadLine())
            m_display = ":" + QString::fromLatin1(m_x.readLine()).trimmed();
    }
    ~VirtualDisplay()
    {
        m_x.terminate();
        m_x.waitForFinished(3000);
    }

    // "DISPLAY=:n", empty when Xvfb did not start.
    QString environment() const { return m_display.isEmpty() ? QString() : "DISPLAY=" + m_display; }

private:
    QProcess m_x;
    QString m_display;
};

} // namespace quillon::test
