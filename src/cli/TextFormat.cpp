#include "TextFormat.h"

#include <cstdarg>
#include <cstdio>

namespace quillon::cli {

std::string TextFormat::format(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, fmt, measure);
    va_end(measure);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, fmt, args);
    va_end(args);
    return text;
}

std::string TextFormat::hexBytes(const std::uint8_t* bytes, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0)
            text += ' ';
        text += format("%02x", bytes[i]);
    }
    return text;
}

std::string TextFormat::status(std::uint32_t code)
{
    return code == 0 ? "0" : format("0x%x", code);
}

std::string TextFormat::fanControlLine(const std::string& reason)
{
    return reason.empty() ? std::string() : "fan control unavailable on this computer: " + reason + "\n";
}

} // namespace quillon::cli
