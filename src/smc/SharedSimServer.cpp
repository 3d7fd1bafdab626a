#include "SharedSimServer.h"

#include "UnixSocket.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillon::smc {

SharedSimServer::SharedSimServer(std::string socketPath, SimulatedMac& mac)
    : m_path(std::move(socketPath))
    , m_mac(mac)
{
}

SharedSimServer::~SharedSimServer()
{
    closeAll();
    if (m_listenFd >= 0)
        ::close(m_listenFd);
    if (m_ownsPath)
        ::unlink(m_path.c_str());
}

bool SharedSimServer::listen(std::string& error)
{
    sockaddr_un address;
    if (!UnixSocket::makeAddress(m_path, address, error))
        return false;

    struct stat existing;
    if (::lstat(m_path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode)) {
            error = "refusing to replace " + m_path + ": it exists and is not a socket";
            return false;
        }
        if (const int live = UnixSocket::connectTo(m_path); live >= 0) {
            ::close(live);
            error = "another simulated Mac already serves " + m_path;
            return false;
        }
        ::unlink(m_path.c_str()); // left behind by a server that died
    }

    m_listenFd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (m_listenFd < 0) {
        error = std::string("socket: ") + std::strerror(errno);
        return false;
    }
    ::fcntl(m_listenFd, F_SETFD, FD_CLOEXEC);
    const mode_t oldMask = ::umask(0077);
    const int bound = ::bind(m_listenFd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int bindErrno = errno;
    ::umask(oldMask);
    if (bound != 0 || ::listen(m_listenFd, 16) != 0) {
        error = "cannot listen on " + m_path + ": " + std::strerror(bound != 0 ? bindErrno : errno);
        ::close(m_listenFd);
        m_listenFd = -1;
        return false;
    }
    m_ownsPath = true;
    return true;
}

void SharedSimServer::acceptClient()
{
    const int fd = ::accept(m_listenFd, nullptr, nullptr);
    if (fd < 0)
        return;
    if (m_clients.size() >= kMaxClients) {
        ::close(fd);
        return;
    }
    ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    // Replies go out without blocking: a client that stops reading is dropped
    // rather than stalling everyone else.
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    m_clients.push_back(Client{fd});
}

bool SharedSimServer::readFrom(Client& client)
{
    for (;;) {
        const ssize_t n
            = ::recv(client.fd, client.pending.data() + client.filled, client.pending.size() - client.filled, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return true;
        if (n <= 0)
            return false;
        client.filled += static_cast<std::size_t>(n);
        if (client.filled < client.pending.size())
            continue;
        client.filled = 0;

        SmcParamRecord in;
        SmcParamRecord out;
        std::memcpy(&in, client.pending.data(), sizeof in);
        m_mac.handle(in, out);
        unsigned char reply[SharedSimWire::kReplySize];
        const std::uint32_t status = 0;
        std::memcpy(reply, &status, sizeof status);
        std::memcpy(reply + sizeof status, &out, sizeof out);
        if (!UnixSocket::sendAll(client.fd, reply, sizeof reply))
            return false;
    }
}

void SharedSimServer::serve(int stopFd)
{
    std::vector<pollfd> fds;
    for (;;) {
        fds.clear();
        fds.push_back({stopFd, POLLIN, 0});
        fds.push_back({m_listenFd, POLLIN, 0});
        for (const Client& c : m_clients)
            fds.push_back({c.fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        if (fds[0].revents)
            break;
        if (fds[1].revents & POLLIN)
            acceptClient();
        // Walk backwards so that dropping a client keeps the remaining indices valid.
        for (std::size_t i = fds.size(); i-- > 2;) {
            if (!fds[i].revents)
                continue;
            Client& client = m_clients[i - 2];
            if (!readFrom(client)) {
                ::close(client.fd);
                m_clients.erase(m_clients.begin() + static_cast<std::ptrdiff_t>(i - 2));
            }
        }
    }
    closeAll();
}

void SharedSimServer::closeAll()
{
    for (const Client& c : m_clients)
        ::close(c.fd);
    m_clients.clear();
}

} // namespace quillon::smc
