#include "RegularFile.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon::platform::linux_ {

std::optional<QByteArray> RegularFile::read(const QString& path, qsizetype maxBytes)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return std::nullopt;
    std::optional<QByteArray> bytes;
    struct stat info { };
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        // One byte more than allowed tells a file that is too big.
        QByteArray read(maxBytes + 1, Qt::Uninitialized);
        qsizetype filled = 0;
        while (filled < read.size()) {
            const ssize_t got = ::read(fd, read.data() + filled, static_cast<size_t>(read.size() - filled));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            filled += got;
        }
        read.truncate(filled);
        if (filled <= maxBytes)
            bytes = std::move(read);
    }
    ::close(fd);
    return bytes;
}

} // namespace quillon::platform::linux_
