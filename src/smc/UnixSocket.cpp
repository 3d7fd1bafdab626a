#include "UnixSocket.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillon::smc {

namespace {
#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_NOSIGNAL;
#else
constexpr int kSendFlags = 0; // macOS: SO_NOSIGPIPE is set on the socket instead
#endif
} // namespace

bool UnixSocket::makeAddress(const std::string& path, sockaddr_un& address, std::string& error)
{
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    if (path.empty()) {
        error = "socket path is empty";
        return false;
    }
    if (path.size() >= sizeof address.sun_path) {
        error = "socket path is too long (" + std::to_string(path.size()) + " bytes, at most "
            + std::to_string(sizeof address.sun_path - 1) + "): " + path;
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

int UnixSocket::connectTo(const std::string& path)
{
    sockaddr_un address;
    std::string error;
    if (!makeAddress(path, address, error)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0)
        return -1;
    ::fcntl(fd, F_SETFD, FD_CLOEXEC);
#ifdef SO_NOSIGPIPE
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int saved = errno;
        ::close(fd);
        errno = saved;
        return -1;
    }
    return fd;
}

bool UnixSocket::sendAll(int fd, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const ssize_t n = ::send(fd, bytes, size, kSendFlags);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

bool UnixSocket::receiveAll(int fd, void* data, std::size_t size, int timeoutMs)
{
    auto* bytes = static_cast<unsigned char*>(data);
    while (size > 0) {
        pollfd p{fd, POLLIN, 0};
        const int ready = ::poll(&p, 1, timeoutMs);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        const ssize_t n = ::recv(fd, bytes, size, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace quillon::smc
