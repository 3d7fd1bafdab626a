#include "DesktopLidSetting.h"

#include "DBusAsync.h"
#include "DBusTimeouts.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <memory>
#include <string>

// GLib's headers use "signals" as a name, which Qt defines as a keyword;
// nothing here declares Qt signals.
#undef signals
#include <gio/gio.h>

namespace quillon::platform::linux_ {

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

std::optional<bool> DesktopLidSetting::kdeDoesNothing(QDBusConnection sessionBus)
{
    return kdeAnswer(sessionBus.call(kdeLidAction(), QDBus::Block, DBusTimeouts::callMs));
}

void DesktopLidSetting::askKdeDoesNothing(
    QDBusConnection sessionBus, QObject* context, std::function<void(std::optional<bool>)> done)
{
    auto* watcher
        = new QDBusPendingCallWatcher(DBusAsync::call(sessionBus, kdeLidAction(), DBusTimeouts::callMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
        [done = std::move(done)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            done(kdeAnswer(finished->reply()));
        });
}

QDBusMessage DesktopLidSetting::kdeLidAction()
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.kde.Solid.PowerManagement"),
        QStringLiteral("/org/kde/Solid/PowerManagement/Actions/HandleButtonEvents"),
        QStringLiteral("org.kde.Solid.PowerManagement.Actions.HandleButtonEvents"), QStringLiteral("lidAction"));
}

std::optional<bool> DesktopLidSetting::kdeAnswer(const QDBusMessage& reply)
{
    const QVariant action = reply.arguments().value(0);
    if (reply.type() != QDBusMessage::ReplyMessage || !action.canConvert<int>())
        return std::nullopt;
    return action.toInt() == 0;
}

} // namespace quillon::platform::linux_
