#pragma once

#include "app/Notifier.h"
#include "app/Settings.h"
#include "app/power/DriveManager.h"
#include "app/power/LidManager.h"
#include "app/power/SleepManager.h"
#include "platform/LidSensor.h"
#include "platform/PowerSupply.h"
#include "support/FakeClock.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeThermalPressure.h"
#include "unit/fan/FakeHelperLink.h"
#include "unit/power/FakeDrives.h"
#include "unit/power/FakePowerAssertionBackend.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace quillon::test {

// A power supply whose reading the test sets.
class FakePowerSupply : public platform::PowerSupply {
public:
    platform::PowerSupplyReading reading;
    platform::PowerSupplyReading read() const override { return reading; }
    void battery(int percent, bool onAC)
    {
        reading.hasBattery = true;
        reading.onAC = onAC;
        reading.percentage = percent;
    }
};

// A lid the test opens and closes.
class FakeLidSensor : public platform::LidSensor {
public:
    std::optional<bool> closed = false;
    std::optional<bool> isClosed() override { return closed; }
};

// The keep-awake models over fakes of every platform service, with timers
// off: tests call the handlers and move the clock.
class KeepAwakeRig : public ::testing::Test {
protected:
    using Kind = app::SleepAssertions::Kind;

    void SetUp() override
    {
        manager = std::make_unique<app::SleepManager>(servicesWith(link));
        link.deliver();
        link.clear();
    }

    // Every fake service, with the given helper link.
    app::SleepManager::Services servicesWith(app::HelperLink& helperLink)
    {
        app::SleepManager::Services services;
        services.helperLink = &helperLink;
        services.assertions = backend;
        services.powerSupply = supply;
        services.volumes = volumes;
        services.driveToucher = toucher;
        services.lidSensor = &lidSensor;
        services.thermal = &thermal;
        services.notifier = &notifier;
        services.settings = &settings;
        services.clock = &clock;
        services.startTimers = false;
        return services;
    }

    QStringList titles() const { return center.titles(); }
    // Assertions held right now, by the names the system shows.
    int liveAssertions() const { return static_cast<int>(backend->live.size()); }

    QTemporaryDir dir;
    app::Settings settings{dir.path() + "/Quillon.conf"};
    FakeHelperLink link;
    FakeClock clock;
    FakeNotificationCenter center;
    app::Notifier notifier{&center};
    FakeThermalPressure thermal;
    FakeLidSensor lidSensor;
    std::shared_ptr<FakePowerAssertionBackend> backend = std::make_shared<FakePowerAssertionBackend>();
    std::shared_ptr<FakePowerSupply> supply = std::make_shared<FakePowerSupply>();
    std::shared_ptr<FakeVolumeSource> volumes = std::make_shared<FakeVolumeSource>();
    std::shared_ptr<FakeDriveToucher> toucher = std::make_shared<FakeDriveToucher>();
    std::unique_ptr<app::SleepManager> manager;
};

} // namespace quillon::test
