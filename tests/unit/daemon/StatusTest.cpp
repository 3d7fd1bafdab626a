#include "ServiceRig.h"

#include "daemon/StatusPayload.h"

#include <QStringList>
#include <gtest/gtest.h>

using quillon::daemon::StatusPayload;
using quillon::smc::SimulatedMac;
using quillon::test::ServiceRig;

namespace {

QStringList sortedKeys(const QVariantMap& map)
{
    QStringList keys = map.keys();
    keys.sort();
    return keys;
}

TEST(Status, TemperatureKeysAppearOnlyWithAReading)
{
    ServiceRig::Config noGpu = ServiceRig::Config::appleSiliconLaptop();
    std::erase_if(noGpu.sensors, [](const SimulatedMac::SensorSpec& s) { return s.key.starts_with("Tg"); });
    const struct {
        const char* name;
        ServiceRig::Config config;
        std::uint8_t faults;
        QStringList temperatures;
    } cases[] = {
        {"CPU and GPU keys", ServiceRig::Config::appleSiliconLaptop(), 0, {"cpuTemp", "cpuTempMax", "gpuTemp"}},
        {"no GPU keys", noGpu, 0, {"cpuTemp", "cpuTempMax"}},
        {"no readable sensor", ServiceRig::Config::appleSiliconLaptop(), SimulatedMac::temperatureReadsFail, {}},
    };
    for (const auto& c : cases) {
        ServiceRig rig(c.config);
        rig.start();
        rig.setFaults(c.faults);
        QStringList expected = QStringList{"effectivePercent", "fanControlUnavailable", "fans", "floorPercent",
                                   "isBoosted", "lidStayAwake", "releasePending", "safetyClearSeconds", "safetyRelease",
                                   "tempSensorCount", "thermalOverride"}
            + c.temperatures;
        expected.sort();
        const QVariantMap payload = StatusPayload::toVariantMap(rig.service->status());
        EXPECT_EQ(sortedKeys(payload), expected) << c.name;
        const auto fans = payload.value("fans").value<QList<QVariantMap>>();
        ASSERT_EQ(fans.size(), 2) << c.name;
        EXPECT_EQ(sortedKeys(fans[1]), (QStringList{"currentRPM", "index", "maxRPM", "minRPM", "mode", "targetRPM"}));
        EXPECT_EQ(fans[1].value("index").toInt(), 1);
        EXPECT_EQ(fans[1].value("maxRPM").toInt(), 6200);
    }
}

TEST(Status, ThermalOverrideMeansGenuineHeatWellAboveTheFloor)
{
    const struct {
        double floor, celsius;
        bool overridden;
    } cases[] = {
        {30, 90, true},                   // the curve asks 78.3 %, and 90 °C is genuine heat
        {30, 80, false},                  // the curve asks 34.8 %, but 80 °C is not yet genuine heat
        {78, 90, false},                  // the floor is within a point of the curve
        {77, 90, true}, {100, 96, false}, // nothing goes above a full floor
    };
    for (const auto& c : cases) {
        ServiceRig rig;
        rig.holdTemperature(c.celsius);
        rig.start().setFanFloor(c.floor);
        EXPECT_EQ(rig.service->status().thermalOverride, c.overridden) << c.floor << "% at " << c.celsius;
    }
}

TEST(Status, ReadingsAreReusedWithinOneLoopIntervalAndNoLonger)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    auto& service = rig.start();
    EXPECT_DOUBLE_EQ(service.status().cpuTemp.value_or(0), 60);
    rig.holdTemperature(80);
    rig.advance(std::chrono::milliseconds(399));
    EXPECT_DOUBLE_EQ(service.status().cpuTemp.value_or(0), 60) << "a flood of requests costs no SMC reads";
    rig.advance(std::chrono::milliseconds(1));
    EXPECT_DOUBLE_EQ(service.status().cpuTemp.value_or(0), 80) << "never older than one loop interval";
}

} // namespace
