#include "DesktopLidSetting.h"

#include "DBusAsync.h"
#include "DBusTimeouts.h"
#include "RegularFile.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QStandardPaths>
#include <memory>
#include <string>

// GLib's headers use "signals" as a name, which Qt defines as a keyword;
// nothing here declares Qt signals.
#undef signals
#include <gio/gio.h>

namespace quillon::platform::linux_ {

namespace {

// Where each PowerDevil keeps a profile's lid action: the file, the group
// below the profile's and the key.
struct KdeLidKey {
    const char* file;
    const char* group;
    const char* key;
};
constexpr KdeLidKey kdeLidKeys[] = {
    {"powermanagementprofilesrc", "HandleButtonEvents", "lidAction"}, // Plasma 5
    {"powerdevilrc", "SuspendAndShutdown", "LidAction"},              // Plasma 6
};

// The profiles (KConfig groups "[AC]", …) whose lid action a KConfig file
// sets to 0, "Do nothing".
QStringList profilesDoingNothing(const QByteArray& text, const KdeLidKey& where)
{
    QStringList profiles;
    QByteArray group;
    for (const QByteArray& raw : text.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[')) {
            group = line;
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        // A key may carry flags ("lidAction[$i]"): its name ends there.
        QByteArray key = line.left(equals).trimmed();
        key = key.left(key.indexOf('[') < 0 ? key.size() : key.indexOf('['));
        const QByteArray suffix = QByteArray("][") + where.group + ']';
        if (equals < 0 || key != where.key || !group.endsWith(suffix) || line.mid(equals + 1).trimmed() != "0")
            continue;
        profiles << QString::fromUtf8(group.mid(1, group.size() - 1 - suffix.size()));
    }
    return profiles;
}

} // namespace

QString DesktopLidSetting::configHome()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

std::optional<bool> DesktopLidSetting::mateDoesNothing()
{
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (!source)
        return std::nullopt;
    const std::unique_ptr<GSettingsSchema, decltype(&g_settings_schema_unref)> schema(
        g_settings_schema_source_lookup(source, "org.mate.power-manager", TRUE), &g_settings_schema_unref);
    if (!schema || !g_settings_schema_has_key(schema.get(), "button-lid-ac")
        || !g_settings_schema_has_key(schema.get(), "button-lid-battery"))
        return std::nullopt;
    const std::unique_ptr<GSettings, decltype(&g_object_unref)> settings(
        g_settings_new_full(schema.get(), nullptr, nullptr), &g_object_unref);
    const auto nothing = [&](const char* key) {
        const std::unique_ptr<gchar, decltype(&g_free)> value(g_settings_get_string(settings.get(), key), &g_free);
        return value && std::string(value.get()) == "nothing";
    };
    return nothing("button-lid-ac") && nothing("button-lid-battery");
}

void DesktopLidSetting::askKdeDoesNothing(QDBusConnection sessionBus, const QString& configHome, QObject* context,
    std::function<void(std::optional<bool>)> done)
{
    auto* watcher
        = new QDBusPendingCallWatcher(DBusAsync::call(sessionBus, kdeLidAction(), DBusTimeouts::callMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
        [configHome, done = std::move(done)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            done(kdeAnswer(finished->reply(), configHome));
        });
}

QDBusMessage DesktopLidSetting::kdeLidAction()
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.kde.Solid.PowerManagement"),
        QStringLiteral("/org/kde/Solid/PowerManagement/Actions/HandleButtonEvents"),
        QStringLiteral("org.kde.Solid.PowerManagement.Actions.HandleButtonEvents"), QStringLiteral("lidAction"));
}

std::optional<bool> DesktopLidSetting::kdeAnswer(const QDBusMessage& reply, const QString& configHome)
{
    const QVariant action = reply.arguments().value(0);
    if (reply.type() != QDBusMessage::ReplyMessage || !action.canConvert<int>())
        return std::nullopt;
    if (action.toInt() != 0)
        return false;
    QStringList quiet;
    for (const KdeLidKey& where : kdeLidKeys)
        quiet += profilesDoingNothing(
            RegularFile::read(configHome + u'/' + QLatin1String(where.file), 1 << 20).value_or(QByteArray()), where);
    return quiet.contains(u"AC") && quiet.contains(u"Battery") && quiet.contains(u"LowBattery");
}

} // namespace quillon::platform::linux_
