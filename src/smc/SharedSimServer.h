#pragma once

#include "SharedSimWire.h"
#include "SimulatedMac.h"

#include <array>
#include <string>
#include <vector>

namespace quillon::smc {

// Serves one simulated Mac to any number of processes over a Unix stream
// socket, so that the helper, the app and the tools all see the same
// machine, and what one of them leaves behind outlives it.
//
// The socket is created owner-only. An existing socket file that nobody
// serves is replaced; a live one, or any other kind of file, is left alone
// and listen() fails with the reason.
class SharedSimServer {
public:
    static constexpr std::size_t kMaxClients = 64;

    SharedSimServer(std::string socketPath, SimulatedMac& mac);
    ~SharedSimServer();
    SharedSimServer(const SharedSimServer&) = delete;
    SharedSimServer& operator=(const SharedSimServer&) = delete;

    // Creates and binds the socket; false with a readable reason on failure.
    bool listen(std::string& error);

    // Answers requests until stopFd becomes readable, then closes every
    // connection. Misbehaving clients (stalled reads, errors) are dropped.
    void serve(int stopFd);

private:
    struct Client {
        int fd;
        std::array<unsigned char, SharedSimWire::kRequestSize> pending{};
        std::size_t filled = 0;
    };

    void acceptClient();
    // False when the client should be dropped.
    bool readFrom(Client& client);
    void closeAll();

    std::string m_path;
    SimulatedMac& m_mac;
    int m_listenFd = -1;
    bool m_ownsPath = false;
    std::vector<Client> m_clients;
};

} // namespace quillon::smc
