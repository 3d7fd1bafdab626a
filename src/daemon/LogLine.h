#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace quillon::daemon {

// One log line built printf-style in a fixed buffer, so that logging from the
// control loop never touches the heap. Text beyond the buffer is cut off.
class LogLine {
public:
    static constexpr std::size_t kCapacity = 1024;

    LogLine() = default;
    explicit LogLine(const char* text) { append(text); }

    LogLine& append(std::string_view text);
    LogLine& appendf(const char* format, ...) __attribute__((format(printf, 2, 3)));

    std::string_view text() const { return {m_buffer.data(), m_length}; }

private:
    std::array<char, kCapacity> m_buffer{};
    std::size_t m_length = 0;
};

} // namespace quillon::daemon
