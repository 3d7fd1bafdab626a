#include "SimServerRole.h"

#include "ToolContext.h"

#include "smc/SharedSimServer.h"
#include "smc/SimulatedMac.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace quillon::cli {

namespace {

int g_stopPipe[2] = {-1, -1};

void onTerminate(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto n = ::write(g_stopPipe[1], &byte, 1);
}

} // namespace

int SimServerRole::run(const std::string& socketPath)
{
    if (::pipe(g_stopPipe) != 0) {
        std::perror("quillon: pipe");
        return ExitStatus::failed;
    }
    for (const int fd : g_stopPipe)
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    struct sigaction action = {};
    action.sa_handler = onTerminate;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    smc::SimulatedMac mac;
    smc::SharedSimServer server(socketPath, mac);
    std::string error;
    if (!server.listen(error)) {
        std::fprintf(stderr, "quillon: cannot serve the simulated Mac: %s\n", error.c_str());
        return ExitStatus::failed;
    }
    std::printf("Simulated Mac serving on %s (QUILLON_SMC=sim:%s)\n", socketPath.c_str(), socketPath.c_str());
    std::fflush(stdout);
    server.serve(g_stopPipe[0]);
    return ExitStatus::ok;
}

} // namespace quillon::cli
