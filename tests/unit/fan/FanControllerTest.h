#pragma once

#include "app/fan/FanController.h"

#include "support/FakeAppServices.h"

#include <gtest/gtest.h>
#include <memory>

namespace quillon::test {

// A FanController over a fake helper link, clock, notification service and
// thermal pressure, with its settings in a temporary file.
class FanControllerTest : public ::testing::Test, protected FakeAppServices {
protected:
    using Kind = core::CoolingProfile::Kind;

    // Set before create() for a controller with a profile daemon.
    platform::PowerProfiles* powerProfiles = nullptr;

    void create(app::FanController::Installer installer = {}, QString bundled = {}, QString installed = {})
    {
        app::FanController::Parts parts;
        parts.link = &link;
        parts.settings = &settings;
        parts.clock = &clock;
        parts.notifier = &notifier;
        parts.thermal = &thermal;
        parts.profiles = powerProfiles;
        parts.installer = std::move(installer);
        parts.bundledHelperPath = std::move(bundled);
        parts.installedHelperPath = std::move(installed);
        parts.startTimers = false;
        fc = std::make_unique<app::FanController>(std::move(parts));
        link.deliver();
    }

    // The status the helper reports: temperatures in °C, absent when NaN.
    // forcingFans makes the helper claim it holds the fans whatever it was told.
    static QVariantMap status(double cpu, double gpu = qQNaN(), bool forcingFans = false, bool lid = false)
    {
        QVariantMap s{{"lidStayAwake", lid}};
        if (forcingFans)
            s.insert("isBoosted", true);
        if (!qIsNaN(cpu))
            s.insert("cpuTemp", cpu);
        if (!qIsNaN(gpu))
            s.insert("gpuTemp", gpu);
        return s;
    }

    // One second passes and the poll's status arrives, with every reply it causes.
    void poll(const QVariantMap& s)
    {
        link.status = s;
        clock.advance(1.0);
        fc->pollTick();
        link.deliver();
    }
    void pollTemps(std::initializer_list<double> temps)
    {
        for (const double t : temps)
            poll(status(t));
    }

    std::unique_ptr<app::FanController> fc;
};

} // namespace quillon::test
