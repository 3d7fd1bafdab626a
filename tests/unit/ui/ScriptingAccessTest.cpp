// The scripting interface on a bus that other users may reach: only the
// user the app runs as is served; anyone else is refused before anything
// happens, and a first call is answered without the app ever blocking.
#include "app/automation/TriggerManager.h"
#include "ui/scripting/ScriptingService.h"

#include "support/EventLoop.h"
#include "support/KeepAwakeRig.h"
#include "support/PrivateBus.h"
#include "support/QStringPrinter.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <unistd.h>

namespace quillon::test {
namespace {

using namespace std::chrono_literals;

class ScriptingAccessTest : public KeepAwakeRig {
protected:
    // The service, serving this uid, and a caller on a connection of its own.
    void serve(uid_t uid)
    {
        service = std::make_unique<ui::ScriptingService>(*manager, link,
            ui::ScriptingService::Hooks{[] { return ui::IconState{}; }, [] {}, [] {}, [] {}, {}, {}}, uid);
        QString error;
        ASSERT_TRUE(service->registerOn(bus.connection(), error)) << error.toStdString();
    }
    QDBusMessage call(const QString& method, const QVariantList& args = {})
    {
        QDBusConnection caller = QDBusConnection::connectToBus(bus.address(), "scripting-caller");
        QDBusMessage message = QDBusMessage::createMethodCall(
            ui::ScriptingService::kService, ui::ScriptingService::kObjectPath, "org.quillon.Quillon", method);
        message.setArguments(args);
        QDBusPendingCall pending = caller.asyncCall(message);
        EXPECT_TRUE(waitUntil([&] { return pending.isFinished(); }, 5s)) << method.toStdString();
        return pending.reply();
    }
    void TearDown() override
    {
        QDBusConnection::disconnectFromBus("scripting-caller");
        service.reset();
    }

    PrivateBus bus;
    std::unique_ptr<ui::ScriptingService> service;
};

TEST_F(ScriptingAccessTest, TheAppsOwnUserIsServedFirstCallAndAfter)
{
    serve(::getuid());
    for (int round = 0; round < 2; ++round) {
        const QDBusMessage reply = call("SetAutomation", {true});
        ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        EXPECT_EQ(reply.arguments().value(0), true);
        EXPECT_EQ(reply.arguments().value(1).toString(), "automation on; no rule holds now");
    }
    EXPECT_TRUE(manager->triggers()->automationEnabled());
    EXPECT_EQ(call("NoSuchMethod").type(), QDBusMessage::ErrorMessage) << "errors are handed on too";
}

TEST_F(ScriptingAccessTest, AnotherUserIsRefusedAndChangesNothing)
{
    serve(::getuid() + 1);
    for (int round = 0; round < 2; ++round) {
        const QDBusMessage reply = call("SetAutomation", {true});
        EXPECT_EQ(reply.type(), QDBusMessage::ErrorMessage);
        EXPECT_EQ(reply.errorName(), "org.freedesktop.DBus.Error.AccessDenied");
    }
    EXPECT_FALSE(manager->triggers()->automationEnabled());
    EXPECT_EQ(call("Status").errorName(), "org.freedesktop.DBus.Error.AccessDenied");
}

// Status waits for logind to tell who else blocks sleep; meanwhile other
// calls are served, and logind's silence comes back as the reason.
TEST_F(ScriptingAccessTest, StatusWaitsForLogindWithoutHoldingUpOtherCalls)
{
    serve(::getuid());
    backend->holdOthers = true;
    QDBusConnection caller = QDBusConnection::connectToBus(bus.address(), "scripting-caller");
    QDBusPendingCall status = caller.asyncCall(QDBusMessage::createMethodCall(
        ui::ScriptingService::kService, ui::ScriptingService::kObjectPath, "org.quillon.Quillon", "Status"));
    EXPECT_EQ(call("SetAutomation", {true}).arguments().value(0), true);
    EXPECT_FALSE(status.isFinished());
    ASSERT_EQ(backend->waitingForOthers.size(), 1u);

    backend->waitingForOthers.front()({{}, "logind: it did not answer in time"});
    ASSERT_TRUE(waitUntil([&] { return status.isFinished(); }, 5s));
    ASSERT_FALSE(status.isError()) << status.error().message().toStdString();
    const QJsonObject awake = QJsonDocument::fromJson(status.reply().arguments().value(0).toString().toUtf8())
                                  .object()
                                  .value("awake")
                                  .toObject();
    EXPECT_EQ(awake.value("otherInhibitorsProblem").toString(), "logind: it did not answer in time");
    EXPECT_TRUE(awake.value("otherInhibitors").toArray().isEmpty());
}

} // namespace
} // namespace quillon::test
