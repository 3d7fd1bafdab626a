#include "app/power/SleepAssertions.h"

#include "app/Translations.h"

#include "support/FakePowerAssertionBackend.h"
#include "support/QStringPrinter.h"

#include <gtest/gtest.h>

using quillon::app::SleepAssertions;
using quillon::platform::PowerAssertionType;
using quillon::test::FakePowerAssertionBackend;
using Kind = SleepAssertions::Kind;
using Phase = SleepAssertions::KindState::Phase;
using SystemPhase = quillon::platform::PowerAssertionState::Phase;

namespace {

class SleepAssertionsTest : public ::testing::Test {
protected:
    std::shared_ptr<FakePowerAssertionBackend> backend = std::make_shared<FakePowerAssertionBackend>();
};

TEST_F(SleepAssertionsTest, EachKindAssertsItsOwnTypeUnderItsFixedNameOnce)
{
    struct Row {
        Kind kind;
        PowerAssertionType type;
        const char* name;
    };
    const Row rows[] = {
        {Kind::system, PowerAssertionType::preventIdleSystemSleep, "SleepTimer: prevent system sleep"},
        {Kind::display, PowerAssertionType::preventIdleDisplaySleep, "SleepTimer: prevent display sleep"},
        {Kind::network, PowerAssertionType::networkClientActive, "SleepTimer: keep network active"},
    };
    SleepAssertions owner(backend);
    for (const Row& row : rows) {
        ASSERT_TRUE(owner.start(row.kind));
        const auto id = owner.ids().at(row.kind);
        EXPECT_EQ(backend->live.at(id).type, row.type);
        EXPECT_EQ(backend->live.at(id).name, QString(row.name));
        // Starting a held kind again neither creates nor renews.
        EXPECT_TRUE(owner.start(row.kind));
        EXPECT_EQ(owner.ids().at(row.kind), id);
    }
    EXPECT_EQ(backend->createCalls, 3);
    EXPECT_TRUE(backend->released.empty());
}

TEST_F(SleepAssertionsTest, EveryAssertionIsReleasedExactlyOnce)
{
    SleepAssertions owner(backend);
    owner.stop(Kind::system);
    owner.stopAll();
    EXPECT_TRUE(backend->released.empty());

    for (Kind kind : SleepAssertions::allKinds)
        owner.start(kind);
    const auto network = owner.ids().at(Kind::network);
    owner.stop(Kind::network);
    owner.stop(Kind::network);
    EXPECT_EQ(backend->released, std::vector{network});
    EXPECT_TRUE(owner.isHeld(Kind::system));

    owner.stopAll();
    owner.stopAll();
    EXPECT_TRUE(owner.ids().empty());
    // Three released and none live: each exactly once.
    EXPECT_TRUE(backend->live.empty());
    EXPECT_EQ(backend->released.size(), 3u);

    // Two owners of one kind hold two assertions and let go independently;
    // destroying an owner releases what it still holds.
    auto lid = std::make_unique<SleepAssertions>(backend);
    owner.start(Kind::system);
    lid->start(Kind::system);
    ASSERT_EQ(backend->live.size(), 2u);
    EXPECT_NE(owner.ids().at(Kind::system), lid->ids().at(Kind::system));
    owner.stop(Kind::system);
    EXPECT_EQ(backend->live.count(lid->ids().at(Kind::system)), 1u);
    lid->start(Kind::display);
    lid.reset();
    EXPECT_TRUE(backend->live.empty());
}

TEST_F(SleepAssertionsTest, ARefusedStartReportsFalseAndLeavesNothingHeld)
{
    SleepAssertions owner(backend);
    backend->refuse = true;
    EXPECT_FALSE(owner.start(Kind::system));
    EXPECT_FALSE(owner.isHeld(Kind::system));
    EXPECT_EQ(owner.state(Kind::system).phase, Phase::failed);
    EXPECT_EQ(owner.state(Kind::system).problem, "nothing here");
    owner.stopAll();
    EXPECT_TRUE(backend->released.empty());
    EXPECT_EQ(owner.state(Kind::system).phase, Phase::off) << "stopping forgets the refusal";

    // The next start asks again.
    backend->refuse = false;
    EXPECT_TRUE(owner.start(Kind::system));
    EXPECT_EQ(backend->createCalls, 2);
    EXPECT_EQ(owner.state(Kind::system).phase, Phase::inForce);
}

TEST_F(SleepAssertionsTest, AnAssertionTheSystemDropsLaterIsLetGoAndShownFailed)
{
    backend->confirmLater = true;
    SleepAssertions owner(backend);
    SleepAssertions other(backend);
    int changes = 0;
    QObject::connect(&owner, &SleepAssertions::stateChanged, [&] { ++changes; });
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_TRUE(other.start(Kind::system));
    EXPECT_EQ(owner.state(Kind::system).phase, Phase::confirming);
    EXPECT_TRUE(owner.holding(Kind::system));

    const auto id = owner.ids().at(Kind::system);
    backend->settle(id, SystemPhase::failed, "the portal never answered");
    EXPECT_FALSE(owner.holding(Kind::system));
    EXPECT_EQ(owner.state(Kind::system).problem, "the portal never answered");
    EXPECT_EQ(backend->released, std::vector{id});
    // Another owner's assertion of the same kind is not touched.
    EXPECT_EQ(other.state(Kind::system).phase, Phase::confirming);
    backend->settle(other.ids().at(Kind::system), SystemPhase::inForce);
    EXPECT_EQ(other.state(Kind::system).phase, Phase::inForce);
    EXPECT_EQ(changes, 2) << "started, then failed; the other owner's news is not ours";
}

TEST_F(SleepAssertionsTest, KindsHaveStableRawValuesAndLabelsInBothLanguages)
{
    for (Kind kind : SleepAssertions::allKinds)
        EXPECT_EQ(SleepAssertions::fromRawValue(SleepAssertions::rawValue(kind)), kind);
    EXPECT_EQ(SleepAssertions::rawValue(Kind::network), "network");
    EXPECT_FALSE(SleepAssertions::fromRawValue("System").has_value());
    EXPECT_FALSE(SleepAssertions::fromRawValue("").has_value());

    const QStringList english{"Keep system awake", "Keep display awake", "Keep network active"};
    const QStringList german{"System wach halten", "Display wach halten", "Netzwerk aktiv halten"};
    for (const bool inGerman : {true, false}) {
        ASSERT_TRUE(quillon::app::Translations::apply(inGerman));
        QStringList labels;
        for (Kind kind : SleepAssertions::allKinds)
            labels << SleepAssertions::label(kind);
        EXPECT_EQ(labels, inGerman ? german : english);
    }
}

} // namespace
