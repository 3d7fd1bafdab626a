#include "UDisks2VolumeSource.h"

#include "DBusAsync.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QVariantMap>

namespace quillon::platform::linux_ {

namespace {

const QString kBlock = QStringLiteral("org.freedesktop.UDisks2.Block");
const QString kFilesystem = QStringLiteral("org.freedesktop.UDisks2.Filesystem");

// MountPoints is an array of NUL-terminated byte strings (aay).
QStringList mountPoints(const QVariant& value)
{
    QStringList paths;
    if (value.userType() != qMetaTypeId<QDBusArgument>())
        return paths;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("aay"))
        return paths;
    argument.beginArray();
    while (!argument.atEnd()) {
        QByteArray bytes;
        argument >> bytes;
        if (bytes.endsWith('\0'))
            bytes.chop(1);
        if (!bytes.isEmpty())
            paths << QFile::decodeName(bytes);
    }
    argument.endArray();
    return paths;
}

std::optional<MountedVolume> volumeOf(const QMap<QString, QVariantMap>& interfaces)
{
    if (!interfaces.contains(kBlock) || !interfaces.contains(kFilesystem))
        return std::nullopt;
    const QVariantMap& block = interfaces[kBlock];
    if (block.value(QStringLiteral("HintSystem")).toBool() || block.value(QStringLiteral("HintIgnore")).toBool())
        return std::nullopt;
    const QStringList mounts = mountPoints(interfaces[kFilesystem].value(QStringLiteral("MountPoints")));
    if (mounts.isEmpty() || mounts.first() == QLatin1String("/"))
        return std::nullopt;
    QString name = block.value(QStringLiteral("IdLabel")).toString();
    if (name.isEmpty())
        name = block.value(QStringLiteral("HintName")).toString();
    return MountedVolume{mounts.first(), name};
}

std::optional<QList<MountedVolume>> volumesIn(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("a{oa{sa{sv}}}"))
        return std::nullopt;

    QList<MountedVolume> volumes;
    const auto objects = reply.arguments().constFirst().value<QDBusArgument>();
    objects.beginMap();
    while (!objects.atEnd()) {
        QDBusObjectPath path;
        QMap<QString, QVariantMap> interfaces;
        objects.beginMapEntry();
        objects >> path >> interfaces;
        objects.endMapEntry();
        if (auto volume = volumeOf(interfaces))
            volumes.append(*volume);
    }
    objects.endMap();
    return volumes;
}

} // namespace

UDisks2VolumeSource::UDisks2VolumeSource(QDBusConnection systemBus, int timeoutMs)
    : m_bus(std::move(systemBus))
    , m_timeoutMs(timeoutMs)
{
}

void UDisks2VolumeSource::askExternalVolumes(Answer answer)
{
    const QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.UDisks2"),
        QStringLiteral("/org/freedesktop/UDisks2"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
        QStringLiteral("GetManagedObjects"));
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, call, m_timeoutMs), m_calls.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, m_calls.get(),
        [watcher, answer = std::move(answer)] {
            watcher->deleteLater();
            answer(volumesIn(watcher->reply()));
        });
}

} // namespace quillon::platform::linux_
