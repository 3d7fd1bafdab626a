#include "AppleSmcDriverStandIn.h"

#include "smc/FourCC.h"
#include "smc/SmcNumber.h"
#include "smc/SysfsFile.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon::test {

namespace {

// How long an answer waits for its reader to close: kReaderCloseWaits times
// kReaderCloseWaitMs. Generous: on a loaded machine a reader may take over a
// second to close, and answering again before it has would count twice.
constexpr int kReaderCloseWaits = 100;
constexpr int kReaderCloseWaitMs = 50;

constexpr const char* kPipeFiles[]
    = {"key_at_index_name", "key_at_index_type", "key_at_index_data_length", "key_at_index_data"};

std::string fromHex(const std::string& hex)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

} // namespace

AppleSmcDriverStandIn::AppleSmcDriverStandIn(std::string deviceDir, const std::string& keyList)
    : m_dir(std::move(deviceDir))
{
    std::ifstream in(keyList);
    for (std::string line; std::getline(in, line);) {
        if (line.size() < 11)
            continue;
        const std::string rest = line.substr(10);
        const auto space = rest.find(' ');
        m_keys.push_back({line.substr(0, 4), line.substr(5, 4), rest.substr(0, space),
            space == std::string::npos ? std::string() : fromHex(rest.substr(space + 1))});
    }
    std::ofstream(file("key_at_index")) << "0\n";
    for (const char* pipe : kPipeFiles) {
        ::unlink(file(pipe).c_str());
        ::mkfifo(file(pipe).c_str(), 0644);
    }
    // A reader that goes away mid-answer (a killed helper) must not kill us.
    std::signal(SIGPIPE, SIG_IGN);
    m_serving = 4;
    for (int p = 0; p < 4; ++p)
        m_threads.emplace_back([this, p] { serve(static_cast<Pipe>(p)); });
    m_threads.emplace_back([this] { follow(); });
}

AppleSmcDriverStandIn::~AppleSmcDriverStandIn()
{
    m_stopping = true;
    // A reader of our own lets a thread out of its blocking open(), however
    // late it got there.
    while (m_serving > 0) {
        for (const char* pipe : kPipeFiles) {
            const int fd = ::open(file(pipe).c_str(), O_RDONLY | O_NONBLOCK);
            ::usleep(1000);
            if (fd >= 0)
                ::close(fd);
        }
    }
    for (std::thread& thread : m_threads)
        thread.join();
}

void AppleSmcDriverStandIn::serve(Pipe pipe)
{
    const std::string path = file(kPipeFiles[static_cast<int>(pipe)]);
    // Reopening at once while the reader has not yet seen the end would hand
    // it a second answer: each answer waits for its reader to close.
    const int closes = ::inotify_init1(IN_CLOEXEC);
    ::inotify_add_watch(closes, path.c_str(), IN_CLOSE_NOWRITE);
    while (!m_stopping) {
        const int fd = ::open(path.c_str(), O_WRONLY);
        if (fd < 0)
            continue;
        if (m_stopping) {
            ::close(fd);
            break;
        }
        const std::string text = answer(pipe);
        if (!text.empty() && ::write(fd, text.data(), text.size()) < 0) { }
        ++m_answers;
        ::close(fd);
        pollfd wait{closes, POLLIN, 0};
        for (int i = 0; i < kReaderCloseWaits && !m_stopping && ::poll(&wait, 1, kReaderCloseWaitMs) == 0; ++i) { }
        char events[256];
        if (wait.revents & POLLIN && ::read(closes, events, sizeof events) < 0) { }
    }
    ::close(closes);
    --m_serving;
}

std::string AppleSmcDriverStandIn::answer(Pipe pipe)
{
    const std::optional<long long> index = smc::SysfsFile::readInteger(file("key_at_index"));
    if (!index || *index < 0 || *index >= static_cast<long long>(m_keys.size()))
        return {};
    const Key& key = m_keys[static_cast<std::size_t>(*index)];
    switch (pipe) {
    case Pipe::name:
        return key.name + '\n';
    case Pipe::type:
        return key.type + '\n';
    case Pipe::length:
        return key.length + '\n';
    case Pipe::data:
        return dataOf(key);
    }
    return {};
}

long long AppleSmcDriverStandIn::fanValue(int fan, const char* suffix) const
{
    return smc::SysfsFile::readInteger(file("fan" + std::to_string(fan + 1) + suffix)).value_or(0);
}

std::string AppleSmcDriverStandIn::dataOf(const Key& key) const
{
    const std::string& name = key.name;
    if (name == "FS! ") {
        unsigned bits = 0;
        for (int fan = 0; fan < 10; ++fan)
            bits |= fanValue(fan, "_manual") ? 1u << fan : 0u;
        return std::string{static_cast<char>(bits >> 8), static_cast<char>(bits & 0xFF)};
    }
    static constexpr struct {
        const char* kind;
        const char* suffix;
    } kFanFiles[] = {{"Ac", "_input"}, {"Mn", "_min"}, {"Mx", "_max"}, {"Tg", "_output"}, {"Md", "_manual"}};
    if (name[0] == 'F' && name[1] >= '0' && name[1] <= '9') {
        for (const auto& f : kFanFiles) {
            if (name.substr(2) != f.kind)
                continue;
            std::uint8_t bytes[4];
            const std::uint32_t n = smc::SmcNumber::encode(
                smc::FourCC::pack(key.type), static_cast<double>(fanValue(name[1] - '0', f.suffix)), bytes);
            return std::string(reinterpret_cast<const char*>(bytes), n);
        }
    }
    return key.bytes;
}

void AppleSmcDriverStandIn::follow()
{
    while (!m_stopping) {
        for (int fan = 0; fan < 10; ++fan) {
            const std::string output = file("fan" + std::to_string(fan + 1) + "_output");
            if (!smc::SysfsFile::exists(output))
                break;
            if (fanValue(fan, "_manual") == 1) {
                const std::string target = std::to_string(fanValue(fan, "_output"));
                if (smc::SysfsFile::readLine(file("fan" + std::to_string(fan + 1) + "_input")) != target)
                    smc::SysfsFile::write(file("fan" + std::to_string(fan + 1) + "_input"), target + "\n");
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kFollowIntervalMs));
    }
}

} // namespace quillon::test
