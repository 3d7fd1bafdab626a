#include "RealPacer.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

namespace quillon::cli {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;
struct sigaction g_previousInt;
struct sigaction g_previousTerm;

void onSignal(int)
{
    g_interrupted = 1;
}

} // namespace

RealPacer::RealPacer()
{
    g_interrupted = 0;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no SA_RESTART: a sleep must wake up
    sigaction(SIGINT, &action, &g_previousInt);
    sigaction(SIGTERM, &action, &g_previousTerm);
}

RealPacer::~RealPacer()
{
    sigaction(SIGINT, &g_previousInt, nullptr);
    sigaction(SIGTERM, &g_previousTerm, nullptr);
}

double RealPacer::seconds()
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void RealPacer::sleep(double seconds)
{
    if (!(seconds > 0))
        return;
    const double whole = static_cast<double>(static_cast<long>(seconds));
    timespec left{static_cast<time_t>(whole), static_cast<long>((seconds - whole) * 1e9)};
    while (!g_interrupted && nanosleep(&left, &left) != 0 && errno == EINTR) { }
}

bool RealPacer::interrupted()
{
    return g_interrupted != 0;
}

} // namespace quillon::cli
