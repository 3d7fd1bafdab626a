#pragma once

#include <cstddef>
#include <string>

struct sockaddr_un;

namespace quillon::smc {

// Small blocking helpers over Unix stream sockets, shared by the simulator's
// client and server. File descriptors are close-on-exec; no call raises SIGPIPE.
class UnixSocket {
public:
    UnixSocket() = delete;

    // Fills address for path; false with a readable reason when the path is
    // empty or longer than a socket address holds.
    static bool makeAddress(const std::string& path, sockaddr_un& address, std::string& error);
    // A connected socket, or -1 (errno set) when nothing listens there.
    static int connectTo(const std::string& path);
    // Writes all of data; false when the peer is gone.
    static bool sendAll(int fd, const void* data, std::size_t size);
    // Reads exactly size bytes, waiting at most timeoutMs for each chunk; false
    // on timeout, error or end of stream.
    static bool receiveAll(int fd, void* data, std::size_t size, int timeoutMs);
};

} // namespace quillon::smc
