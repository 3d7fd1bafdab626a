#pragma once

#include "platform/MediaPlayback.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>

namespace quillon::platform::linux_ {

// Media players through MPRIS on the session bus: every name under
// org.mpris.MediaPlayer2. is a player, and its Player's PlaybackStatus
// "Playing" is what counts. Players are followed by their announcements
// (NameOwnerChanged, PropertiesChanged), never polled; every call is
// asynchronous.
//
// Why MPRIS and not the sound server's streams: a stream says only that it
// is open. Players keep a corked or muted stream open while paused, and
// browsers keep one for any page that once made a sound, so a stream rule
// holds the machine awake under a paused video, which users of other tools
// report as the rule's commonest fault. A player's own PlaybackStatus says
// what the user sees on its play button. Main thread only.
class MprisPlayback : public MediaPlayback {
    Q_OBJECT
public:
    static constexpr const char* kPrefix = "org.mpris.MediaPlayer2.";
    // Anything on the bus may take such names; more are not followed.
    static constexpr int kMaxPlayers = 64;
    static constexpr int kMaxNameLength = 80;

    explicit MprisPlayback(const QDBusConnection& bus, QObject* parent = nullptr);

    void setWatching(bool on) override;
    QStringList playing() const override;
    bool available() const override;

private slots:
    void onNameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void onPropertiesChanged(const QDBusMessage& message);

private:
    struct Player {
        QString owner; // the unique name announcing its changes
        QString identity;
        bool playing = false;
        quint64 generation = 0; // answers to an older owner's calls are dropped
    };

    void addPlayer(const QString& name, const QString& owner);
    void askStatus(const QString& name);
    void askIdentity(const QString& name);
    void setPlaying(const QString& name, bool playing);
    // The answer to a call made for this player's generation, if it still stands.
    Player* current(const QString& name, quint64 generation);

    QDBusConnection m_bus;
    bool m_watching = false;
    quint64 m_generations = 0;
    QHash<QString, Player> m_players; // by well-known name
};

} // namespace quillon::platform::linux_
