#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillon::cli {

// printf-style formatting for the tools' fixed output lines.
class TextFormat {
public:
    TextFormat() = delete;

    static std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
    // Bytes as two-digit lower-case hex joined by single spaces: "04 b0".
    static std::string hexBytes(const std::uint8_t* bytes, std::size_t count);
    // A csmc status: "0", or the code in hex ("0x84", "0xffffffff").
    static std::string status(std::uint32_t code);
    static const char* boolText(bool value) { return value ? "true" : "false"; }
    // "fan control unavailable on this computer: <reason>" and a newline, or
    // "" when reason is empty.
    static std::string fanControlLine(const std::string& reason);
};

} // namespace quillon::cli
