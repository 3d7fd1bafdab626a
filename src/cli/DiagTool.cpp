#include "DiagTool.h"

#include "DiagWriteTests.h"
#include "TextFormat.h"

#include "smc/FourCC.h"
#include "smc/SmcCodes.h"

#include <cstring>

namespace quillon::cli {

namespace {

std::string decodeValue(const std::uint8_t* bytes, std::uint32_t length, std::uint32_t type)
{
    if (length == 2)
        return TextFormat::format("fpe2≈%u rpm", ((unsigned{bytes[0]} << 8) | bytes[1]) >> 2);
    if (length == 4 && type == smc::SmcType::flt) {
        float value;
        std::memcpy(&value, bytes, sizeof value);
        return TextFormat::format("flt=%.1f", static_cast<double>(value));
    }
    if (length == 1)
        return TextFormat::format("ui8=%u", bytes[0]);
    return {};
}

} // namespace

std::optional<DiagTool::Mode> DiagTool::parseMode(const std::optional<std::string>& argument)
{
    if (!argument)
        return Mode::standard;
    if (*argument == "--dumpkeys")
        return Mode::dumpKeys;
    if (*argument == "probe")
        return Mode::probe;
    if (*argument == "loop")
        return Mode::loop;
    return std::nullopt;
}

int DiagTool::run(ToolContext& context, Mode mode)
{
    std::ostream& out = context.out;
    out << "=== Boilerhouse SMC Diagnostics ===\n";
    out << "running as root: " << TextFormat::boolText(context.runningAsRoot) << '\n';
    if (const std::uint32_t rc = context.smc.open(); rc != smc::SmcStatus::kSuccess) {
        out << "csmc_open failed: " << TextFormat::status(rc) << '\n';
        out << TextFormat::fanControlLine(context.smc.fanControlUnavailable());
        out << "SMC service not reachable. Aborting.\n";
        return ExitStatus::failed;
    }
    bool ok = false;
    const int fanCount = context.smc.readU8("FNum", &ok);
    out << "FNum (fan count) = " << fanCount << "  ok=" << TextFormat::boolText(ok) << '\n';
    out << TextFormat::fanControlLine(context.smc.fanControlUnavailable());
    printFanKeys(context, fanCount);

    DiagWriteTests writeTests(context);
    switch (mode) {
    case Mode::dumpKeys:
        dumpKeys(context);
        return ExitStatus::ok;
    case Mode::loop:
        writeTests.loop();
        return ExitStatus::ok;
    case Mode::probe:
        writeTests.probe();
        return ExitStatus::ok;
    case Mode::standard:
        break;
    }
    printFanReads(context, fanCount);
    writeTests.forcedWrite();
    out << "\n=== Done ===\n";
    return ExitStatus::ok;
}

void DiagTool::printFanKeys(ToolContext& context, int fanCount)
{
    static constexpr const char* suffixes[] = {"Ac", "Mn", "Mx", "Tg", "Md", "Sf"};
    for (int n = 0; n < fanCount; ++n) {
        context.out << "\n--- Fan " << n << " ---\n";
        for (const char* suffix : suffixes)
            printKeyInfo(context, "F" + std::to_string(n) + suffix);
    }
}

void DiagTool::printKeyInfo(ToolContext& context, const std::string& key)
{
    std::uint32_t size = 0;
    std::uint32_t type = 0;
    std::uint8_t attributes = 0;
    if (context.smc.keyInfo(key, &size, &type, &attributes) != smc::SmcStatus::kSuccess) {
        context.out << "  " << key << ": no info\n";
        return;
    }
    std::uint8_t bytes[32] = {};
    std::uint32_t length = 0;
    const std::uint32_t rc = context.smc.readRaw(key, bytes, sizeof bytes, &length);
    const std::string decoded
        = rc == smc::SmcStatus::kSuccess ? decodeValue(bytes, length, type) : "read rc=" + TextFormat::status(rc);
    context.out << TextFormat::format("  %s: size=%u type=%s attrs=0x%02x  bytes=[%s]  %s\n", key.c_str(), size,
        smc::FourCC::unpack(type).c_str(), attributes, TextFormat::hexBytes(bytes, length).c_str(), decoded.c_str());
}

void DiagTool::dumpKeys(ToolContext& context)
{
    const std::uint32_t count = context.smc.keyCount();
    context.out << "\n=== All keys (" << count << ") ===\n";
    for (std::uint32_t i = 0; i < count; ++i) {
        char name[5];
        if (const std::uint32_t rc = context.smc.keyAtIndex(i, name); rc != smc::SmcStatus::kSuccess) {
            context.out << TextFormat::format("  [%3u] no key: rc=%s\n", i, TextFormat::status(rc).c_str());
            continue;
        }
        std::uint32_t type = 0;
        context.smc.keyInfo(name, nullptr, &type, nullptr);
        std::uint8_t bytes[32] = {};
        std::uint32_t length = 0;
        const std::uint32_t rc = context.smc.readRaw(name, bytes, sizeof bytes, &length);
        const std::string value = rc == smc::SmcStatus::kSuccess ? TextFormat::hexBytes(bytes, length)
                                                                 : "read rc=" + TextFormat::status(rc);
        context.out << TextFormat::format(
            "  [%3u] %s  %s  bytes=[%s]\n", i, name, smc::FourCC::unpack(type).c_str(), value.c_str());
    }
}

void DiagTool::printFanReads(ToolContext& context, int fanCount)
{
    static constexpr struct {
        const char* suffix;
        const char* label;
    } floats[] = {{"Ac", "current"}, {"Mn", "min"}, {"Mx", "max"}, {"Tg", "target"}};
    context.out << "\n=== Reads as float (correct type for ASi) ===\n";
    for (int n = 0; n < fanCount; ++n) {
        const std::string fan = "F" + std::to_string(n);
        for (const auto& f : floats) {
            bool ok = false;
            const float value = context.smc.readFlt(fan + f.suffix, &ok);
            context.out << TextFormat::format("  %s%s (%s) = %.0f rpm ok=%s\n", fan.c_str(), f.suffix, f.label,
                static_cast<double>(value), TextFormat::boolText(ok));
        }
        bool ok = false;
        const int mode = context.smc.readU8(fan + "Md", &ok);
        context.out << TextFormat::format("  %sMd (mode) = %d ok=%s\n", fan.c_str(), mode, TextFormat::boolText(ok));
    }
}

} // namespace quillon::cli
