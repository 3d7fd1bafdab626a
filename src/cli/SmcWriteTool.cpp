#include "SmcWriteTool.h"

#include "TextFormat.h"

#include "smc/SmcCodes.h"

#include <charconv>
#include <limits>
#include <optional>
#include <string_view>

namespace quillon::cli {

namespace {

struct Write {
    std::string key;
    bool oneByte;
    int value;
};

bool isKey(std::string_view key)
{
    if (key.size() != 4)
        return false;
    for (const char c : key) {
        if (c < 0x20 || c > 0x7E)
            return false;
    }
    return true;
}

// A plain decimal integer (optional leading '-') within [low, high]; nothing else.
std::optional<int> parseDecimal(std::string_view text, long long low, long long high)
{
    long long value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || ec != std::errc() || ptr != end || value < low || value > high)
        return std::nullopt;
    return static_cast<int>(value);
}

// The parsed write, or the message for a bad pair.
std::optional<Write> parsePair(const std::string& keyArg, const std::string& valueArg, std::string& message)
{
    constexpr std::string_view u8Prefix = "u8:";
    const bool oneByte = std::string_view(keyArg).starts_with(u8Prefix);
    const std::string key = oneByte ? keyArg.substr(u8Prefix.size()) : keyArg;
    if (!isKey(key)) {
        message = "bad key: " + keyArg;
        return std::nullopt;
    }
    const auto value = oneByte
        ? parseDecimal(valueArg, 0, 255)
        : parseDecimal(valueArg, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    if (!value) {
        message = (oneByte ? "bad u8 value: " : "bad rpm value: ") + valueArg;
        return std::nullopt;
    }
    return Write{key, oneByte, *value};
}

} // namespace

int SmcWriteTool::run(ToolContext& context, const std::vector<std::string>& args)
{
    std::vector<Write> writes;
    for (std::size_t i = 0; i < args.size(); i += 2) {
        if (i + 1 >= args.size()) {
            context.out << "missing value for " << args[i] << '\n';
            return ExitStatus::badUsage;
        }
        std::string message;
        const auto write = parsePair(args[i], args[i + 1], message);
        if (!write) {
            context.out << message << '\n';
            return ExitStatus::badUsage;
        }
        writes.push_back(*write);
    }

    if (const std::uint32_t rc = context.smc.open(); rc != smc::SmcStatus::kSuccess) {
        context.out << "csmc_open failed: " << TextFormat::status(rc) << '\n';
        return ExitStatus::failed;
    }

    bool allWritten = true;
    for (const Write& w : writes) {
        const std::uint32_t rc = w.oneByte ? context.smc.writeU8(w.key, static_cast<std::uint8_t>(w.value))
                                           : context.smc.writeFpe2(w.key, w.value);
        context.out << "write " << w.key << " = " << w.value << (w.oneByte ? " (u8)" : " rpm (fpe2)");
        if (rc != smc::SmcStatus::kSuccess) {
            context.out << " failed: rc=" << TextFormat::status(rc);
            allWritten = false;
        }
        context.out << '\n';
    }
    return allWritten ? ExitStatus::ok : ExitStatus::failed;
}

} // namespace quillon::cli
