#include "Utf8Clusters.h"

#include <cstdint>

namespace quillon::core {

namespace {

struct CodePoint {
    char32_t value;
    std::size_t length;
};

// Decodes one code point at the start of text; a malformed sequence decodes
// as a single byte with value U+FFFD.
CodePoint decode(std::string_view text)
{
    const auto lead = static_cast<std::uint8_t>(text[0]);
    std::size_t length = lead < 0x80 ? 1
        : (lead >> 5) == 0x6         ? 2
        : (lead >> 4) == 0xE         ? 3
        : (lead >> 3) == 0x1E        ? 4
                                     : 0;
    if (length == 0 || length > text.size())
        return {U'\uFFFD', 1};
    char32_t value = length == 1 ? lead : lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<std::uint8_t>(text[i]);
        if ((next & 0xC0) != 0x80)
            return {U'\uFFFD', 1};
        value = (value << 6) | (next & 0x3F);
    }
    return {value, length};
}

bool extendsPrevious(char32_t c)
{
    return (c >= 0x0300 && c <= 0x036F)   // combining diacritical marks
        || (c >= 0x1AB0 && c <= 0x1AFF)   // combining marks, extended
        || (c >= 0x1DC0 && c <= 0x1DFF)   // combining marks, supplement
        || (c >= 0x20D0 && c <= 0x20FF)   // combining marks for symbols
        || (c >= 0xFE00 && c <= 0xFE0F)   // variation selectors
        || (c >= 0xFE20 && c <= 0xFE2F)   // combining half marks
        || (c >= 0x1F3FB && c <= 0x1F3FF) // emoji skin-tone modifiers
        || c == 0x200D;                   // zero-width joiner
}

} // namespace

std::vector<std::string_view> Utf8Clusters::split(std::string_view text)
{
    std::vector<std::string_view> clusters;
    bool joinNext = false;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const CodePoint cp = decode(text.substr(pos));
        const bool extends = !clusters.empty() && (joinNext || extendsPrevious(cp.value));
        if (extends) {
            const std::string_view& last = clusters.back();
            clusters.back() = std::string_view(last.data(), last.size() + cp.length);
        } else {
            clusters.push_back(text.substr(pos, cp.length));
        }
        joinNext = cp.value == 0x200D;
        pos += cp.length;
    }
    return clusters;
}

} // namespace quillon::core
