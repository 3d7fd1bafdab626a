#include "LogindLidLock.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <fcntl.h>
#include <unistd.h>

namespace quillon::daemon {

LogindLidLock::LogindLidLock(QDBusConnection bus)
    : m_bus(std::move(bus))
{
}

LogindLidLock::~LogindLidLock()
{
    release();
}

bool LogindLidLock::hold(std::string& error)
{
    if (held())
        return true;
    QDBusMessage call = QDBusMessage::createMethodCall(
        "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit");
    call << QStringLiteral("handle-lid-switch") << QStringLiteral("Quillon")
         << QStringLiteral("Keeping the machine awake with the lid closed") << QStringLiteral("block");
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, kCallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        const bool noBus = reply.errorName() == QDBusError::errorString(QDBusError::Disconnected)
            || reply.errorName() == QDBusError::errorString(QDBusError::NoServer);
        error = noBus ? "logind cannot be reached: there is no system bus"
                      : (reply.errorName() + ": " + reply.errorMessage()).toStdString();
        return false;
    }
    const auto descriptor = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
    if (!descriptor.isValid()) {
        error = "logind answered Inhibit without a file descriptor";
        return false;
    }
    // Our own close-on-exec duplicate: the lock then lives exactly as long as
    // m_fd, whatever becomes of the reply's copies.
    m_fd = ::fcntl(descriptor.fileDescriptor(), F_DUPFD_CLOEXEC, 3);
    if (m_fd < 0) {
        error = "cannot keep the inhibitor descriptor";
        return false;
    }
    return true;
}

void LogindLidLock::release()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

} // namespace quillon::daemon
