#include "PowerRole.h"

#include "ToolContext.h"
#include "app/Settings.h"
#include "app/Translations.h"
#include "app/power/PowerSource.h"
#include "platform/linux/LinuxPlatform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cstdio>

namespace quillon::cli {

namespace {

using app::BatteryFlow;
using app::RenderPowerStatus;

const char* yesNo(bool value)
{
    return value ? "yes" : "no";
}

QString flowName(BatteryFlow::Case kind)
{
    switch (kind) {
    case BatteryFlow::Case::charging:
        return QStringLiteral("charging");
    case BatteryFlow::Case::draining:
        return QStringLiteral("draining");
    case BatteryFlow::Case::onBattery:
        return QStringLiteral("onBattery");
    case BatteryFlow::Case::idleOnAC:
        return QStringLiteral("idleOnAC");
    case BatteryFlow::Case::noBattery:
        return QStringLiteral("noBattery");
    }
    return {};
}

QString statusName(const RenderPowerStatus& status)
{
    const QString minutes = status.minutesLeft ? QString::number(*status.minutesLeft) : QStringLiteral("none");
    switch (status.kind) {
    case RenderPowerStatus::Case::charging:
        return QStringLiteral("charging (%1 W)").arg(status.watts, 0, 'f', 1);
    case RenderPowerStatus::Case::notEnoughPower:
        return QStringLiteral("notEnoughPower (minutes left %1)").arg(minutes);
    case RenderPowerStatus::Case::batteryLow:
        return QStringLiteral("batteryLow (%1 %, minutes left %2)").arg(status.percent).arg(minutes);
    case RenderPowerStatus::Case::onBattery:
        return QStringLiteral("onBattery (%1 %, minutes left %2)").arg(status.percent).arg(minutes);
    case RenderPowerStatus::Case::fullOnAC:
        return QStringLiteral("fullOnAC");
    }
    return {};
}

void printLine(const char* label, const QString& value)
{
    std::printf("%-18s %s\n", label, value.toUtf8().constData());
}

} // namespace

int PowerRole::run(int argc, char** argv, const std::vector<std::string>& args)
{
    const char* program = argc > 0 ? argv[0] : "quillon";
    QString root = QStringLiteral("/sys/class/power_supply");
    if (args.size() == 2 && args[0] == "--sysfs-root") {
        root = QFile::decodeName(args[1].c_str());
    } else if (!args.empty()) {
        std::fprintf(stderr, "Usage: %s --power [--sysfs-root DIR]\n", program);
        return ExitStatus::badUsage;
    }
    if (!QDir(root).exists()) {
        std::fprintf(stderr, "%s: %s is not a directory\n", program, QFile::encodeName(root).constData());
        return ExitStatus::failed;
    }

    QCoreApplication application(argc, argv);
    app::Settings settings;
    app::Translations::apply(settings);

    const app::PowerSource power(platform::linux_::LinuxPlatform::powerSupply(root));
    const app::PowerInfo info = power.current();
    const app::BatteryMetrics metrics = power.batteryMetrics();
    const BatteryFlow flow = power.batteryFlow();
    const RenderPowerStatus status = power.renderPowerStatus();

    printLine("current:",
        QStringLiteral("battery %1, on AC %2, percentage %3, charging %4")
            .arg(QLatin1String(yesNo(info.hasBattery)), QLatin1String(yesNo(info.onAC)),
                info.percentage ? QString::number(*info.percentage) : QStringLiteral("none"),
                QLatin1String(yesNo(info.isCharging))));
    printLine("batteryMetrics:",
        QStringLiteral("%1 mV, %2 mA, %3 mAh")
            .arg(metrics.millivolts)
            .arg(metrics.milliamperes)
            .arg(metrics.capacityMah));
    const bool hasWatts = flow.kind != BatteryFlow::Case::idleOnAC && flow.kind != BatteryFlow::Case::noBattery;
    printLine("batteryFlow:",
        hasWatts ? QStringLiteral("%1 (%2 W)").arg(flowName(flow.kind)).arg(flow.watts, 0, 'f', 1)
                 : flowName(flow.kind));
    printLine("renderPowerStatus:", statusName(status));
    printLine("text:", status.text());
    std::fflush(stdout);
    return ExitStatus::ok;
}

} // namespace quillon::cli
