#include "FanHandbackRecord.h"

#include "SysfsFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon::smc {

namespace {

constexpr const char* kFileName = "/hwmon-fans";
constexpr const char* kUnknown = "-";

std::optional<long long> number(const std::string& word)
{
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(word.c_str(), &end, 10);
    if (word.empty() || *end != '\0' || errno == ERANGE)
        return std::nullopt;
    return value;
}

std::string text(const std::optional<long long>& value)
{
    return value ? std::to_string(*value) : kUnknown;
}

} // namespace

std::string FanHandbackRecord::defaultPath()
{
    const char* runtime = std::getenv("RUNTIME_DIRECTORY");
    return std::string(runtime && *runtime ? runtime : "/run/quillon-helper") + kFileName;
}

FanHandbackRecord::FanHandbackRecord(std::string path)
    : m_path(std::move(path))
{
}

std::vector<FanHandbackRecord::Entry> FanHandbackRecord::load() const
{
    std::vector<Entry> entries;
    const std::optional<std::string> bytes = SysfsFile::read(m_path);
    std::istringstream lines(bytes.value_or(""));
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string channel, enable, duty, extra;
        if (!(words >> channel >> enable >> duty) || (words >> extra))
            continue;
        const std::optional<long long> e = number(enable);
        const std::optional<long long> d = number(duty);
        if ((e || enable == kUnknown) && (d || duty == kUnknown))
            entries.push_back({channel, e, d});
    }
    return entries;
}

bool FanHandbackRecord::save(const std::vector<Entry>& entries) const
{
    if (entries.empty())
        return std::remove(m_path.c_str()) == 0 || errno == ENOENT;
    std::string content;
    for (const Entry& entry : entries)
        content += entry.channel + ' ' + text(entry.enable) + ' ' + text(entry.duty) + '\n';
    // The folder is the helper's own: made owner-only when it is missing.
    if (const auto slash = m_path.rfind('/'); slash != std::string::npos && slash > 0)
        ::mkdir(m_path.substr(0, slash).c_str(), 0700);
    const std::string fresh = m_path + ".new";
    std::FILE* file = std::fopen(fresh.c_str(), "we");
    if (!file)
        return false;
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const bool flushed = std::fflush(file) == 0 && ::fdatasync(::fileno(file)) == 0;
    if (std::fclose(file) != 0 || !written || !flushed) {
        std::remove(fresh.c_str());
        return false;
    }
    return std::rename(fresh.c_str(), m_path.c_str()) == 0;
}

} // namespace quillon::smc
