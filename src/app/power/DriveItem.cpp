#include "DriveItem.h"

#include <QJsonObject>

namespace quillon::app {

QJsonArray DriveItem::encodeList(const QList<DriveItem>& items)
{
    QJsonArray array;
    for (const DriveItem& item : items)
        array.append(QJsonObject{{QStringLiteral("path"), item.path}, {QStringLiteral("name"), item.name}});
    return array;
}

QList<DriveItem> DriveItem::decodeList(const QJsonArray& array, bool* complete)
{
    QList<DriveItem> items;
    for (const QJsonValue& element : array) {
        const QJsonValue path = element.toObject().value(QStringLiteral("path"));
        const QJsonValue name = element.toObject().value(QStringLiteral("name"));
        if (path.isString() && name.isString())
            items.append({path.toString(), name.toString()});
    }
    if (complete)
        *complete = items.size() == array.size();
    return items;
}

} // namespace quillon::app
