// The notifier against a notification server on a private session bus.
#include "DaemonHarness.h"
#include "app/Notifier.h"
#include "app/Translations.h"
#include "platform/linux/FreedesktopNotifications.h"

#include <QDBusConnection>
#include <gtest/gtest.h>

using namespace quillon::test;
using namespace std::chrono_literals;

namespace {

// A minimal org.freedesktop.Notifications: keeps what is on screen, replaces
// by id, and lets the test press a button.
class NotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Shown {
        uint id;
        QString summary;
        QString body;
        QStringList actions;
        QString icon;
    };
    QList<Shown> shown;
    QStringList capabilities{"actions", "body"};

public slots:
    uint Notify(const QString&, uint replacesId, const QString& icon, const QString& summary, const QString& body,
        const QStringList& actions, const QVariantMap&, int)
    {
        for (qsizetype i = 0; i < shown.size(); ++i) {
            if (shown[i].id == replacesId) {
                shown[i] = {replacesId, summary, body, actions, icon};
                return replacesId;
            }
        }
        shown.append({++m_lastId, summary, body, actions, icon});
        return m_lastId;
    }
    QStringList GetCapabilities() { return capabilities; }

signals:
    void ActionInvoked(uint id, const QString& actionKey);
    void NotificationClosed(uint id, uint reason);

private:
    uint m_lastId = 0;
};

class NotifierBus : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bus.ready());
        server = QDBusConnection::connectToBus(bus.address(), "notification-server");
        ASSERT_TRUE(server.registerObject("/org/freedesktop/Notifications", &notifications,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        ASSERT_TRUE(server.registerService("org.freedesktop.Notifications"));
        center = std::make_unique<quillon::platform::linux_::FreedesktopNotifications>(bus.connection());
        notifier = std::make_unique<quillon::app::Notifier>(center.get());
    }
    void TearDown() override
    {
        QDBusConnection::disconnectFromBus("notification-server");
        quillon::app::Translations::apply(false);
    }
    bool shownCount(qsizetype n)
    {
        return waitUntil([&] { return notifications.shown.size() == n; }, 3s);
    }

    PrivateBus bus;
    NotificationServer notifications;
    QDBusConnection server{QString()};
    std::unique_ptr<quillon::platform::linux_::FreedesktopNotifications> center;
    std::unique_ptr<quillon::app::Notifier> notifier;
};

// A plain notification reaches the server as given; whether a server is
// there follows its name (the notifier posts nothing while it is not).
TEST_F(NotifierBus, PostsTitleAndBodyAsGivenAndSeesTheServerGoAndCome)
{
    EXPECT_TRUE(center->available());
    notifier->notify("Fan boost finished", "The boost timer ended — fans are back on automatic.");
    ASSERT_TRUE(shownCount(1));
    EXPECT_EQ(notifications.shown[0].summary, "Fan boost finished");
    EXPECT_EQ(notifications.shown[0].body, "The boost timer ended — fans are back on automatic.");
    EXPECT_TRUE(notifications.shown[0].actions.isEmpty());

    ASSERT_TRUE(server.unregisterService("org.freedesktop.Notifications"));
    EXPECT_FALSE(center->available());
    ASSERT_TRUE(server.registerService("org.freedesktop.Notifications"));
    EXPECT_TRUE(center->available());
}

TEST_F(NotifierBus, LidReminderIsReplacedInEitherLanguageAndItsTurnOffCallsBack)
{
    int disabled = 0;
    notifier->onLidReminderDisable = [&] {
        ++disabled;
    };
    notifier->notifyLidStillOn();
    notifier->notifyLidStillOn(); // faster than the server answers: still one on screen
    ASSERT_TRUE(shownCount(1));
    EXPECT_EQ(notifications.shown[0].summary, "☀️ Closed-lid keep-awake is still on");
    EXPECT_EQ(notifications.shown[0].actions, (QStringList{"LID_OFF", "Turn off", "LID_KEEP", "Keep on"}));
    waitUntil([] { return false; }, 200ms); // the server's answer, with the id to replace, reaches the app

    ASSERT_TRUE(quillon::app::Translations::apply(true));
    notifier->notifyLidStillOn();
    ASSERT_TRUE(
        waitUntil([&] { return notifications.shown[0].summary == "☀️ Zugeklappt-Wachhalten läuft noch"; }, 3s));
    EXPECT_EQ(notifications.shown.size(), 1); // replaced, not duplicated
    EXPECT_EQ(notifications.shown[0].body, "Willkommen zurück. Weiter zugeklappt wach lassen, oder ausschalten?");
    EXPECT_EQ(notifications.shown[0].actions, (QStringList{"LID_OFF", "Ausschalten", "LID_KEEP", "Anlassen"}));

    const uint id = notifications.shown[0].id;
    emit notifications.ActionInvoked(id, "LID_KEEP");
    emit notifications.ActionInvoked(id + 100, "LID_OFF"); // someone else's notification
    emit notifications.ActionInvoked(id, "LID_OFF");
    EXPECT_TRUE(waitUntil([&] { return disabled == 1; }, 3s));
    waitUntil([] { return false; }, 200ms);
    EXPECT_EQ(disabled, 1);
}

// What a notification body carries (a project's or an app's name) is text:
// a server that reads markup gets it escaped, one that does not gets it as
// is. The icon is the one the app installs.
TEST_F(NotifierBus, BodiesAreTextAndTheIconIsTheAppsOwn)
{
    const QString hostile = "Project <img src=\"http://127.0.0.1:9/x.png\"/> & <b>bold</b>";
    waitUntil([] { return false; }, 200ms); // the server's capabilities reach the app
    notifier->notify("🎬 Render finished", hostile);
    ASSERT_TRUE(shownCount(1));
    EXPECT_EQ(notifications.shown[0].body, hostile) << "this server reads no markup";
    EXPECT_EQ(notifications.shown[0].icon, "org.quillon.Quillon");

    notifications.capabilities << "body-markup";
    quillon::platform::linux_::FreedesktopNotifications markupCenter(bus.connection());
    quillon::app::Notifier markupNotifier(&markupCenter);
    waitUntil([] { return false; }, 200ms); // the server's capabilities reach the app
    markupNotifier.notify("🎬 Render finished", hostile);
    ASSERT_TRUE(shownCount(2));
    EXPECT_EQ(notifications.shown[1].body,
        "Project &lt;img src=&quot;http://127.0.0.1:9/x.png&quot;/&gt; &amp; &lt;b&gt;bold&lt;/b&gt;");
}

} // namespace

#include "NotifierBusTest.moc"
