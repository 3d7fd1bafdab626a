#pragma once

#include "app/power/DriveManager.h"
#include "app/power/LidManager.h"
#include "app/power/SleepManager.h"
#include "platform/LidSensor.h"
#include "platform/LidSwitchOwner.h"
#include "platform/PowerSupply.h"
#include "platform/SoundPlayer.h"

#include "support/FakeAppServices.h"
#include "support/FakeAutomation.h"
#include "support/FakeDrives.h"
#include "support/FakePowerAssertionBackend.h"

#include <gtest/gtest.h>

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

// A lid that a desktop power manager may own; handOver() is accepted when
// canHandOver, and the manager lets go once the test clears desktop.
class FakeLidSwitchOwner : public platform::LidSwitchOwner {
public:
    Owner current;
    int handOvers = 0;
    int restores = 0;
    // Answered at once; a hand-over, while answerLater, when the test calls pending.
    void askOwner(OwnerAnswer done) override { done(current); }
    void handOver(HandOverAnswer done) override
    {
        ++handOvers;
        pending = [this, done] {
            done(current.canHandOver, current.canHandOver ? QString() : QStringLiteral("no way"));
        };
        if (!answerLater)
            pending();
    }
    bool answerLater = false;
    std::function<void()> pending;
    void restore() override { ++restores; }
};

// Counts the finish sounds played.
class FakeSoundPlayer : public platform::SoundPlayer {
public:
    int played = 0;
    void playFinished() override { ++played; }
};

// The keep-awake models over fakes of every platform service, with timers
// off: tests call the handlers and move the clock.
class KeepAwakeRig : public ::testing::Test, protected FakeAppServices {
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
        services.lidOwner = &lidOwner;
        services.thermal = &thermal;
        services.sound = &sound;
        services.runningApps = &runningApps;
        services.displays = &displays;
        services.fullScreen = &fullScreen;
        services.media = &media;
        services.processWatcher = &processWatcher;
        services.notifier = &notifier;
        services.settings = &settings;
        services.clock = &clock;
        services.installer = installer;
        services.bundledHelperPath = bundledHelper;
        services.installedHelperPath = installedHelper;
        services.startTimers = false;
        return services;
    }

    // Assertions held right now, by the names the system shows.
    int liveAssertions() const { return static_cast<int>(backend->live.size()); }
    // Those of this type.
    int held(platform::PowerAssertionType type) const
    {
        return static_cast<int>(std::count_if(
            backend->live.begin(), backend->live.end(), [&](const auto& a) { return a.second.type == type; }));
    }

    FakeLidSensor lidSensor;
    FakeLidSwitchOwner lidOwner;
    FakeSoundPlayer sound;
    FakeRunningApps runningApps;
    FakeExternalDisplays displays;
    FakeFullScreenWindows fullScreen;
    FakeMediaPlayback media;
    FakeProcessWatcher processWatcher;
    std::shared_ptr<FakePowerAssertionBackend> backend = std::make_shared<FakePowerAssertionBackend>();
    std::shared_ptr<FakePowerSupply> supply = std::make_shared<FakePowerSupply>();
    std::shared_ptr<FakeVolumeSource> volumes = std::make_shared<FakeVolumeSource>();
    std::shared_ptr<FakeDriveToucher> toucher = std::make_shared<FakeDriveToucher>();
    // The helper installer and the two helper copies the update check compares (none by default).
    app::FanController::Installer installer;
    QString bundledHelper;
    QString installedHelper;
    std::unique_ptr<app::SleepManager> manager;
};

} // namespace quillon::test
