#include "daemon/CallerAuthorization.h"

#include "daemon/CallerBudget.h"

#include <deque>
#include <gtest/gtest.h>

using quillon::daemon::CallerAuthorization;
using quillon::daemon::PolkitAuthority;
using Action = CallerAuthorization::Action;
using Verdict = CallerAuthorization::Verdict;

namespace {

constexpr std::uint32_t kRoot = 0, kUser = 1000, kStranger = 1001;

// polkit as the test answers it, in order.
struct FakePolkit : PolkitAuthority {
    void check(const std::string& busName, std::string_view actionId, Callback done) override
    {
        asked.push_back(busName + " " + std::string(actionId));
        pending.push_back(std::move(done));
    }
    void answer(const Answer& a)
    {
        auto done = std::move(pending.front());
        pending.pop_front();
        done(a);
    }
    std::vector<std::string> asked;
    std::deque<Callback> pending;
};

TEST(CallerAuthorization, OffTheSystemBusOnlyTheHelpersUserAndRootAreServed)
{
    CallerAuthorization authorization(CallerAuthorization::Mode::sameUser, kUser, nullptr);
    const auto never = [](const Verdict&) {
        ADD_FAILURE() << "decided at once";
    };
    EXPECT_TRUE(authorization.authorize({":1.5", kUser}, Action::controlFans, never)->granted);
    EXPECT_TRUE(authorization.authorize({":1.6", kRoot}, Action::lidStayAwake, never)->granted);
    EXPECT_EQ(authorization.authorize({":1.7", kStranger}, Action::controlFans, never)->refusal,
        "not authorized to control the fans");
    EXPECT_EQ(authorization.authorize({":1.7", kStranger}, Action::lidStayAwake, never)->refusal,
        "not authorized to keep the machine awake with the lid closed");
    EXPECT_TRUE(authorization.countsAsContact(kUser) && authorization.countsAsContact(kRoot));
    EXPECT_FALSE(authorization.countsAsContact(kStranger));
}

TEST(CallerAuthorization, OnTheSystemBusPolkitDecidesAndTheGrantedUserKeepsTheHelperAlive)
{
    FakePolkit polkit;
    CallerAuthorization authorization(CallerAuthorization::Mode::polkit, kRoot, &polkit);
    std::vector<Verdict> verdicts;
    const auto record = [&](const Verdict& v) {
        verdicts.push_back(v);
    };

    EXPECT_FALSE(authorization.authorize({":1.42", kUser}, Action::controlFans, record));
    EXPECT_FALSE(authorization.countsAsContact(kUser)) << "no grant yet";
    polkit.answer({true, {}});
    authorization.authorize({":1.42", kUser}, Action::lidStayAwake, record);
    polkit.answer({false, {}});
    authorization.authorize({":1.43", kStranger}, Action::controlFans, record);
    polkit.answer({false, "org.freedesktop.DBus.Error.ServiceUnknown: no polkit"});

    EXPECT_EQ(polkit.asked,
        (std::vector<std::string>{":1.42 org.quillon.Quillon.smchelper.control-fans",
            ":1.42 org.quillon.Quillon.smchelper.lid-stay-awake", ":1.43 org.quillon.Quillon.smchelper.control-fans"}));
    ASSERT_EQ(verdicts.size(), 3u);
    EXPECT_TRUE(verdicts[0].granted);
    EXPECT_EQ(verdicts[1].refusal, "not authorized to keep the machine awake with the lid closed");
    EXPECT_EQ(verdicts[2].refusal, "authorization check failed: org.freedesktop.DBus.Error.ServiceUnknown: no polkit");
    EXPECT_TRUE(authorization.countsAsContact(kUser));
    EXPECT_FALSE(authorization.countsAsContact(kStranger));

    const auto root = authorization.authorize({":1.1", kRoot}, Action::controlFans, record);
    EXPECT_TRUE(root && root->granted) << "root needs no question";
    EXPECT_EQ(polkit.asked.size(), 3u);
}

TEST(CallerAuthorization, WaitingChecksAreLimitedPerCallerAndInAllNotQueued)
{
    FakePolkit polkit;
    CallerAuthorization authorization(CallerAuthorization::Mode::polkit, kRoot, &polkit);
    const auto ask = [&](const std::string& busName) {
        return authorization.authorize({busName, kStranger}, Action::controlFans, [](const Verdict&) {});
    };
    for (int i = 0; i < CallerAuthorization::kMaxPendingPerCaller; ++i)
        EXPECT_FALSE(ask(":1.9")) << "waits for polkit";
    const auto busy = ask(":1.9");
    ASSERT_TRUE(busy);
    EXPECT_EQ(busy->refusal, "busy: too many requests waiting for authorization");

    int waiting = CallerAuthorization::kMaxPendingPerCaller;
    for (int caller = 10; waiting < CallerAuthorization::kMaxPendingChecks; ++caller, ++waiting)
        EXPECT_FALSE(ask(":1." + std::to_string(caller))) << "one busy caller does not lock the others out";
    EXPECT_TRUE(ask(":1.99")) << "the limit in all";
    EXPECT_EQ(polkit.pending.size(), std::size_t(CallerAuthorization::kMaxPendingChecks));

    polkit.answer({false, {}}); // the first of :1.9's
    EXPECT_FALSE(ask(":1.9")) << "an answered check makes room for its caller";
}

TEST(CallerBudget, ABurstThenAFixedRatePerCallerNeverSavedUpBeyondTheBurst)
{
    using quillon::daemon::CallerBudget;
    using namespace std::chrono_literals;
    CallerBudget budget;
    std::chrono::nanoseconds now = 1h;
    const auto granted = [&](const std::string& caller, int asked) {
        int n = 0;
        for (int i = 0; i < asked; ++i)
            n += budget.spend(caller, now) ? 1 : 0;
        return n;
    };
    EXPECT_EQ(granted(":1.5", 100), CallerBudget::kBurst);
    EXPECT_EQ(granted(":1.6", 1), 1) << "each caller has its own bucket";
    now += 1s;
    EXPECT_EQ(granted(":1.5", 100), static_cast<int>(CallerBudget::kPerSecond));
    now += 24h;
    EXPECT_EQ(granted(":1.5", 100), CallerBudget::kBurst);

    // A flood spread over more callers than are tracked costs the oldest
    // their record, never the memory.
    for (int i = 0; i < 1000; ++i)
        budget.spend(":2." + std::to_string(i), now);
    EXPECT_EQ(granted(":2.999", 100), CallerBudget::kBurst - 1);
}

} // namespace
