#include "TriggerApp.h"

#include <QJsonObject>

namespace quillon::app {

QJsonArray TriggerApp::encodeList(const QList<TriggerApp>& apps)
{
    QJsonArray array;
    for (const TriggerApp& app : apps) {
        QJsonObject object{{QStringLiteral("bundleID"), app.bundleID}, {QStringLiteral("name"), app.name}};
        if (app.cooling)
            object.insert(QStringLiteral("cooling"), QString::fromLatin1(core::CoolingProfile::rawValue(*app.cooling)));
        array.append(object);
    }
    return array;
}

namespace {

std::optional<TriggerApp> decode(const QJsonValue& element)
{
    const QJsonObject object = element.toObject();
    const QJsonValue id = object.value(QStringLiteral("bundleID"));
    const QJsonValue name = object.value(QStringLiteral("name"));
    const QJsonValue cooling = object.value(QStringLiteral("cooling"));
    if (!element.isObject() || !id.isString() || !name.isString())
        return std::nullopt;
    TriggerApp app{id.toString(), name.toString(), std::nullopt};
    if (!cooling.isUndefined() && !cooling.isNull()) {
        app.cooling
            = cooling.isString() ? core::CoolingProfile::fromRawValue(cooling.toString().toStdString()) : std::nullopt;
        if (!app.cooling)
            return std::nullopt;
    }
    return app;
}

} // namespace

QList<TriggerApp> TriggerApp::decodeList(const QJsonArray& array, bool* complete)
{
    QList<TriggerApp> apps;
    for (const QJsonValue& element : array) {
        if (const auto app = decode(element))
            apps.append(*app);
    }
    if (complete)
        *complete = apps.size() == array.size();
    return apps;
}

} // namespace quillon::app
