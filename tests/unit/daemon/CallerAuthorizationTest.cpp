#include "daemon/CallerAuthorization.h"

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

TEST(CallerAuthorization, ChecksBeyondTheLimitAreRefusedNotQueued)
{
    FakePolkit polkit;
    CallerAuthorization authorization(CallerAuthorization::Mode::polkit, kRoot, &polkit);
    int refusedAtOnce = 0;
    for (int i = 0; i < CallerAuthorization::kMaxPendingChecks + 5; ++i) {
        if (const auto v = authorization.authorize({":1.9", kStranger}, Action::controlFans, [](const Verdict&) {})) {
            EXPECT_EQ(v->refusal, "busy: too many requests waiting for authorization");
            ++refusedAtOnce;
        }
    }
    EXPECT_EQ(refusedAtOnce, 5);
    polkit.answer({false, {}});
    EXPECT_FALSE(authorization.authorize({":1.9", kStranger}, Action::controlFans, [](const Verdict&) {}))
        << "an answered check makes room";
}

} // namespace
