#include "SysfsFile.h"

#include "SmcCodes.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace quillon::smc {

namespace {

// Attribute files are at most a page; a captured tree may hold more.
constexpr std::size_t kReadLimit = 64 * 1024;

thread_local SysfsFile::Traffic t_traffic;

bool isBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

} // namespace

std::string SysfsFile::root()
{
    const char* value = std::getenv("QUILLON_SYSFS_ROOT");
    return value && *value ? value : "/sys";
}

std::optional<std::string> SysfsFile::read(const std::string& path, int* error)
{
    ++t_traffic.reads;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (error)
            *error = errno;
        return std::nullopt;
    }
    std::string bytes;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            if (error)
                *error = errno;
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0 || bytes.size() >= kReadLimit)
            break;
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return bytes;
}

std::optional<long long> SysfsFile::readInteger(const std::string& path)
{
    const std::optional<std::string> text = readLine(path);
    if (!text || text->empty())
        return std::nullopt;
    std::size_t start = 0;
    while (start < text->size() && isBlank((*text)[start]))
        ++start;
    const char* begin = text->c_str() + start;
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(begin, &end, 10);
    if (end == begin || *end != '\0' || errno == ERANGE)
        return std::nullopt;
    return value;
}

std::optional<std::string> SysfsFile::readLine(const std::string& path)
{
    std::optional<std::string> text = read(path);
    if (!text)
        return std::nullopt;
    if (const auto newline = text->find('\n'); newline != std::string::npos)
        text->resize(newline);
    while (!text->empty() && isBlank(text->back()))
        text->pop_back();
    return text;
}

SysfsFile::Traffic SysfsFile::traffic()
{
    return t_traffic;
}

int SysfsFile::write(const std::string& path, const std::string& text)
{
    ++t_traffic.writes;
    return select(path, text);
}

int SysfsFile::select(const std::string& path, const std::string& text)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0)
        return errno;
    ssize_t n;
    do {
        n = ::write(fd, text.data(), text.size());
    } while (n < 0 && errno == EINTR);
    const int error = n < 0 ? errno : (static_cast<std::size_t>(n) == text.size() ? 0 : EIO);
    ::close(fd);
    return error;
}

bool SysfsFile::exists(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

bool SysfsFile::writable(const std::string& path)
{
    return ::access(path.c_str(), W_OK) == 0;
}

std::uint32_t SysfsFile::statusOf(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return SmcStatus::kIOReturnNotPrivileged;
    case EINVAL:
    case ERANGE:
        return SmcStatus::kIOReturnBadArgument;
    case EOPNOTSUPP:
        return SmcStatus::kIOReturnUnsupported;
    default:
        return SmcStatus::kIOReturnNotResponding;
    }
}

} // namespace quillon::smc
