#include "LogLine.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace quillon::daemon {

LogLine& LogLine::append(std::string_view text)
{
    const std::size_t n = std::min(text.size(), kCapacity - 1 - m_length);
    std::memcpy(m_buffer.data() + m_length, text.data(), n);
    m_length += n;
    m_buffer[m_length] = '\0';
    return *this;
}

LogLine& LogLine::appendf(const char* format, ...)
{
    const std::size_t room = kCapacity - m_length;
    va_list args;
    va_start(args, format);
    const int wanted = std::vsnprintf(m_buffer.data() + m_length, room, format, args);
    va_end(args);
    if (wanted > 0)
        m_length += std::min(static_cast<std::size_t>(wanted), room - 1);
    return *this;
}

} // namespace quillon::daemon
