// The media rule's ears: players of our own on a private session bus, heard
// through MPRIS as they come, play, pause, stop and go.
#include "platform/linux/MprisPlayback.h"

#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

// The least of an MPRIS player: its name on a connection of its own, the
// Identity and PlaybackStatus properties, and PropertiesChanged when the
// status changes.
class MiniPlayer : public QDBusVirtualObject {
public:
    MiniPlayer(const QString& address, const QString& name, const QString& identity, const QString& status)
        : m_bus(QDBusConnection::connectToBus(address, name))
        , m_name(name)
        , m_identity(identity)
        , m_status(status)
    {
        m_bus.registerVirtualObject(kPath, this);
        m_bus.registerService(name);
    }
    ~MiniPlayer() override { QDBusConnection::disconnectFromBus(m_name); }

    void set(const QString& status)
    {
        m_status = status;
        QDBusMessage changed = QDBusMessage::createSignal(kPath, kProperties, "PropertiesChanged");
        changed << "org.mpris.MediaPlayer2.Player" << QVariantMap{{"PlaybackStatus", status}} << QStringList();
        m_bus.send(changed);
    }
    void quit() { m_bus.unregisterService(m_name); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.interface() != kProperties || message.member() != QLatin1String("Get"))
            return false;
        const QString property = message.arguments().value(1).toString();
        const QString value = property == QLatin1String("PlaybackStatus") ? m_status
            : property == QLatin1String("Identity")                       ? m_identity
                                                                          : QString();
        connection.send(value.isEmpty() ? message.createErrorReply(QDBusError::UnknownProperty, property)
                                        : message.createReply(QVariant::fromValue(QDBusVariant(value))));
        return true;
    }
    QString introspect(const QString&) const override { return {}; }

private:
    QDBusConnection m_bus;
    QString m_name;
    QString m_identity;
    QString m_status;
};

TEST(MediaPlayback, OnlyAPlayerThatSaysItPlaysCountsFromItsComingToItsGoing)
{
    PrivateBus bus;
    ASSERT_TRUE(bus.ready());
    platform::linux_::MprisPlayback playback(bus.connection());
    ASSERT_TRUE(playback.available());
    int changes = 0;
    QObject::connect(&playback, &platform::MediaPlayback::changed, [&] { ++changes; });
    const auto playing = [&](const QStringList& names) {
        return waitUntil([&] { return playback.playing() == names; });
    };

    auto films = std::make_unique<MiniPlayer>(bus.address(), "org.mpris.MediaPlayer2.films", "Films", "Playing");
    playback.setWatching(true);
    EXPECT_TRUE(playing({"Films"})) << "a player already there is asked";

    films->set("Paused");
    EXPECT_TRUE(playing({}));
    auto music
        = std::make_unique<MiniPlayer>(bus.address(), "org.mpris.MediaPlayer2.music.instance42", "Music", "Stopped");
    films->set("Playing");
    EXPECT_TRUE(playing({"Films"})) << "a stopped player does not count";
    music->set("Playing");
    EXPECT_TRUE(playing({"Films", "Music"}));

    films->quit();
    EXPECT_TRUE(playing({"Music"})) << "a player that leaves the bus stops counting";
    music.reset(); // its connection closes without a word
    EXPECT_TRUE(playing({}));
    EXPECT_GE(changes, 6);

    // Not watching: nothing is heard, and nothing is said.
    playback.setWatching(false);
    changes = 0;
    MiniPlayer late(bus.address(), "org.mpris.MediaPlayer2.late", "Late", "Playing");
    late.set("Playing");
    EXPECT_FALSE(waitUntil([&] { return changes > 0; }, std::chrono::milliseconds(300)));
    EXPECT_TRUE(playback.playing().isEmpty());
}

} // namespace
} // namespace quillon::test
