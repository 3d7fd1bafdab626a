#include "DiagWriteTests.h"

#include "TextFormat.h"

#include "smc/SmcCodes.h"

namespace quillon::cli {

DiagWriteTests::DiagWriteTests(ToolContext& context)
    : m_context(context)
{
}

std::uint32_t DiagWriteTests::checked(std::uint32_t status)
{
    if (status != smc::SmcStatus::kSuccess)
        m_refused = true;
    return status;
}

void DiagWriteTests::restoreFan0(std::uint8_t mode, float target)
{
    checked(m_context.smc.writeFlt("F0Tg", target));
    checked(m_context.smc.writeU8("F0Md", mode));
}

void DiagWriteTests::printRootHintIfRefused()
{
    if (m_refused && !m_context.runningAsRoot)
        m_context.out << "\nRe-run with: sudo " << m_context.programPath << " --diag\n";
}

void DiagWriteTests::forcedWrite()
{
    smc::SmcConnection& smc = m_context.smc;
    std::ostream& out = m_context.out;
    out << "\n=== Write test: F0Md=1 (forced) + F0Tg=4000 ===\n";
    const std::uint8_t savedMode = smc.readU8("F0Md");
    const float savedTarget = smc.readFlt("F0Tg");
    out << TextFormat::format("  Saving original: F0Md=%d F0Tg=%.0f\n", savedMode, static_cast<double>(savedTarget));

    out << "  csmc_write_u8(F0Md, 1) rc=" << TextFormat::status(checked(smc.writeU8("F0Md", 1))) << '\n';
    out << "  csmc_write_flt(F0Tg, 4000) rc=" << TextFormat::status(checked(smc.writeFlt("F0Tg", kForcedTargetRpm)))
        << '\n';
    out << TextFormat::format(
        "  After: F0Md=%d F0Tg=%.0f\n", smc.readU8("F0Md"), static_cast<double>(smc.readFlt("F0Tg")));
    out << "  Waiting 4 seconds for fans to spin up..." << std::endl;
    m_context.pacer.sleep(kSpinUpWaitS);
    if (m_context.pacer.interrupted())
        out << "  Interrupted: restoring now\n";
    out << TextFormat::format(
        "  F0Ac (current) = %.0f rpm  <-- if this jumped, write WORKED\n", static_cast<double>(smc.readFlt("F0Ac")));

    restoreFan0(savedMode, savedTarget);
    out << TextFormat::format("  Restored F0Md=%d, F0Tg=%.0f\n", savedMode, static_cast<double>(savedTarget));
    printRootHintIfRefused();
}

void DiagWriteTests::loop()
{
    smc::SmcConnection& smc = m_context.smc;
    std::ostream& out = m_context.out;
    Pacer& pacer = m_context.pacer;
    out << "\n=== AGGRESSIVE LOOP TEST (Md=1 + Tg=5000 every 200ms for 15s) ===\n";
    const std::uint8_t saved0 = smc.readU8("F0Md");
    const std::uint8_t saved1 = smc.readU8("F1Md");
    out << "Saving: F0Md=" << int{saved0} << " F1Md=" << int{saved1} << std::endl;

    const double start = pacer.seconds();
    while (!pacer.interrupted() && pacer.seconds() - start < kLoopDurationS) {
        for (const char* fan : {"F0", "F1"}) {
            checked(smc.writeU8(std::string(fan) + "Md", 1));
            checked(smc.writeFlt(std::string(fan) + "Tg", kLoopTargetRpm));
        }
        out << TextFormat::format("  T+%4.1fs  F0: Ac=%.0f Tg=%.0f Md=%d | F1: Ac=%.0f Md=%d\n",
            pacer.seconds() - start, static_cast<double>(smc.readFlt("F0Ac")), static_cast<double>(smc.readFlt("F0Tg")),
            smc.readU8("F0Md"), static_cast<double>(smc.readFlt("F1Ac")), smc.readU8("F1Md"))
            << std::flush;
        pacer.sleep(kLoopPeriodS);
    }
    if (pacer.interrupted())
        out << "  Interrupted: restoring now\n";

    checked(smc.writeFlt("F0Tg", 0.0f));
    checked(smc.writeFlt("F1Tg", 0.0f));
    checked(smc.writeU8("F0Md", saved0));
    checked(smc.writeU8("F1Md", saved1));
    out << "Restored F0Md=" << int{saved0} << " F1Md=" << int{saved1} << " and targets 0\n";
    printRootHintIfRefused();
}

void DiagWriteTests::probe()
{
    smc::SmcConnection& smc = m_context.smc;
    std::ostream& out = m_context.out;
    Pacer& pacer = m_context.pacer;
    const std::uint8_t savedMode = smc.readU8("F0Md");
    const float savedTarget = smc.readFlt("F0Tg");
    out << TextFormat::format("\n  Saving original: F0Md=%d F0Tg=%.0f\n", savedMode, static_cast<double>(savedTarget));

    // Auto first, then manual, so the target probe below runs in manual mode.
    out << "\n=== MODE WRITE PROBE ===\n";
    for (const std::uint8_t mode : {std::uint8_t{0}, std::uint8_t{1}}) {
        if (pacer.interrupted())
            break;
        const std::uint32_t rc = checked(smc.writeU8("F0Md", mode));
        pacer.sleep(kReadBackDelayS);
        bool ok = false;
        const int readBack = smc.readU8("F0Md", &ok);
        out << TextFormat::format("  write F0Md=%d: rc=%s  read back %d ok=%s\n", mode, TextFormat::status(rc).c_str(),
            readBack, TextFormat::boolText(ok));
    }

    out << "\n=== TARGET WRITE PROBE (current Md=" << int{smc.readU8("F0Md")} << ") ===\n";
    for (const float target : {3000.0f, 4500.0f}) {
        if (pacer.interrupted())
            break;
        const std::uint32_t rc = checked(smc.writeFlt("F0Tg", target));
        pacer.sleep(kReadBackDelayS);
        bool ok = false;
        const float readBack = smc.readFlt("F0Tg", &ok);
        out << TextFormat::format("  write F0Tg=%.0f: rc=%s  read back %.0f ok=%s\n", static_cast<double>(target),
            TextFormat::status(rc).c_str(), static_cast<double>(readBack), TextFormat::boolText(ok));
    }

    out << "\n=== Final state ===\n";
    out << TextFormat::format("F0Md=%d F0Tg=%.0f F0Ac=%.0f\n", smc.readU8("F0Md"),
        static_cast<double>(smc.readFlt("F0Tg")), static_cast<double>(smc.readFlt("F0Ac")));
    out << "\nRestoring originals\n";
    restoreFan0(savedMode, savedTarget);
    out << TextFormat::format("  Restored F0Md=%d, F0Tg=%.0f\n", savedMode, static_cast<double>(savedTarget));
    printRootHintIfRefused();
}

} // namespace quillon::cli
