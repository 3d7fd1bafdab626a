#pragma once

#include <QStringList>
#include <QtGlobal>

namespace quillon::test {

// The warnings and errors logged while it lives.
class LogCapture {
public:
    LogCapture() { m_previous = qInstallMessageHandler(&LogCapture::handle); }
    ~LogCapture() { qInstallMessageHandler(m_previous); }
    static QStringList& lines()
    {
        static QStringList captured;
        return captured;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& message)
    {
        if (type != QtDebugMsg && type != QtInfoMsg)
            lines().append(message);
    }
    QtMessageHandler m_previous;
};

} // namespace quillon::test
