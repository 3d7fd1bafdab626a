#include "MprisPlayback.h"

#include "DBusAsync.h"
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPointer>
#include <algorithm>
#include <cstring>
#include <functional>

namespace quillon::platform::linux_ {

namespace {

const QString kBusService = QStringLiteral("org.freedesktop.DBus");
const QString kBusPath = QStringLiteral("/org/freedesktop/DBus");
const QString kPlayerPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kPlayer = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString kRoot = QStringLiteral("org.mpris.MediaPlayer2");
const QString kStatus = QStringLiteral("PlaybackStatus");

// A property's value, however the bus delivered it.
QVariant plain(const QVariant& value)
{
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
}

} // namespace

MprisPlayback::MprisPlayback(const QDBusConnection& bus, QObject* parent)
    : MediaPlayback(parent)
    , m_bus(bus)
{
}

bool MprisPlayback::available() const
{
    return m_bus.isConnected();
}

void MprisPlayback::setWatching(bool on)
{
    if (on == m_watching || !m_bus.isConnected())
        return;
    m_watching = on;
    const char* owners = SLOT(onNameOwnerChanged(QString, QString, QString));
    const char* properties = SLOT(onPropertiesChanged(QDBusMessage));
    if (!on) {
        m_bus.disconnect(kBusService, kBusPath, kBusService, QStringLiteral("NameOwnerChanged"), this, owners);
        m_bus.disconnect(QString(), kPlayerPath, kProperties, QStringLiteral("PropertiesChanged"), {kPlayer}, QString(),
            this, properties);
        const bool wasPlaying = !playing().isEmpty();
        m_players.clear();
        if (wasPlaying)
            emit changed();
        return;
    }
    m_bus.connect(kBusService, kBusPath, kBusService, QStringLiteral("NameOwnerChanged"), this, owners);
    m_bus.connect(QString(), kPlayerPath, kProperties, QStringLiteral("PropertiesChanged"), {kPlayer}, QString(), this,
        properties);
    // The players already there; later ones announce themselves.
    const QDBusMessage list = QDBusMessage::createMethodCall(kBusService, kBusPath, kBusService, "ListNames");
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, list), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        const QDBusPendingReply<QStringList> names = *w;
        if (names.isError() || !m_watching)
            return;
        for (const QString& name : names.value()) {
            if (!name.startsWith(QLatin1String(kPrefix)))
                continue;
            const QDBusMessage ask = QDBusMessage::createMethodCall(kBusService, kBusPath, kBusService, "GetNameOwner")
                << name;
            auto* owner = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, ask), this);
            connect(owner, &QDBusPendingCallWatcher::finished, this, [this, name](QDBusPendingCallWatcher* o) {
                o->deleteLater();
                const QDBusPendingReply<QString> unique = *o;
                if (!unique.isError() && m_watching && !m_players.contains(name))
                    addPlayer(name, unique.value());
            });
        }
    });
}

QStringList MprisPlayback::playing() const
{
    QStringList names;
    for (const Player& player : m_players) {
        if (player.playing && !names.contains(player.identity))
            names.append(player.identity);
    }
    std::sort(
        names.begin(), names.end(), [](const QString& a, const QString& b) { return a.localeAwareCompare(b) < 0; });
    return names;
}

void MprisPlayback::onNameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner)
{
    Q_UNUSED(oldOwner);
    if (!name.startsWith(QLatin1String(kPrefix)))
        return;
    const auto gone = m_players.find(name);
    const bool wasPlaying = gone != m_players.end() && gone->playing;
    if (gone != m_players.end())
        m_players.erase(gone);
    if (!newOwner.isEmpty())
        addPlayer(name, newOwner);
    if (wasPlaying)
        emit changed();
}

void MprisPlayback::onPropertiesChanged(const QDBusMessage& message)
{
    const QList<QVariant> args = message.arguments();
    if (args.size() < 3 || args[0].toString() != kPlayer)
        return;
    const QVariantMap changedProperties = qdbus_cast<QVariantMap>(args[1]);
    const QStringList invalidated = qdbus_cast<QStringList>(args[2]);
    for (auto it = m_players.begin(); it != m_players.end(); ++it) {
        if (it->owner != message.service())
            continue;
        if (changedProperties.contains(kStatus))
            setPlaying(it.key(), plain(changedProperties.value(kStatus)).toString() == QLatin1String("Playing"));
        else if (invalidated.contains(kStatus))
            askStatus(it.key());
    }
}

void MprisPlayback::addPlayer(const QString& name, const QString& owner)
{
    if (m_players.size() >= kMaxPlayers)
        return;
    // Until it tells its name: its bus name's part, without an instance ("vlc").
    const QString fallback = name.mid(static_cast<qsizetype>(std::strlen(kPrefix))).section(QLatin1Char('.'), 0, 0);
    m_players.insert(name, Player{owner, fallback.left(kMaxNameLength), false, ++m_generations});
    askStatus(name);
    askIdentity(name);
}

MprisPlayback::Player* MprisPlayback::current(const QString& name, quint64 generation)
{
    const auto found = m_players.find(name);
    return found != m_players.end() && found->generation == generation ? &*found : nullptr;
}

void MprisPlayback::askStatus(const QString& name)
{
    const Player& player = m_players[name];
    const QDBusMessage get = QDBusMessage::createMethodCall(player.owner, kPlayerPath, kProperties, "Get")
        << kPlayer << kStatus;
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, get), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, name, generation = player.generation](QDBusPendingCallWatcher* w) {
            w->deleteLater();
            const QDBusPendingReply<QDBusVariant> status = *w;
            if (!status.isError() && current(name, generation))
                setPlaying(name, status.value().variant().toString() == QLatin1String("Playing"));
        });
}

void MprisPlayback::askIdentity(const QString& name)
{
    const Player& player = m_players[name];
    const QDBusMessage get = QDBusMessage::createMethodCall(player.owner, kPlayerPath, kProperties, "Get")
        << kRoot << QStringLiteral("Identity");
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, get), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, name, generation = player.generation](QDBusPendingCallWatcher* w) {
            w->deleteLater();
            const QDBusPendingReply<QDBusVariant> identity = *w;
            Player* answered = current(name, generation);
            const QString text = identity.isError() ? QString() : identity.value().variant().toString().simplified();
            if (!answered || text.isEmpty())
                return;
            answered->identity = text.left(kMaxNameLength);
            if (answered->playing)
                emit changed();
        });
}

void MprisPlayback::setPlaying(const QString& name, bool playing)
{
    Player& player = m_players[name];
    if (player.playing == playing)
        return;
    player.playing = playing;
    emit changed();
}

} // namespace quillon::platform::linux_
