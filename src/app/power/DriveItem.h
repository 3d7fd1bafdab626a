#pragma once

#include <QJsonArray>
#include <QList>
#include <QMetaType>
#include <QString>
#include <optional>

namespace quillon::app {

// A volume chosen for drive keep-alive: where it is mounted and what the
// user sees it called. Stored as {"path": ..., "name": ...}.
struct DriveItem {
    Q_GADGET
    Q_PROPERTY(QString path MEMBER path)
    Q_PROPERTY(QString name MEMBER name)
public:
    QString path;
    QString name;

    bool operator==(const DriveItem&) const = default;

    // The stored form of a list. decodeList refuses the whole list (nullopt)
    // when any element is not an object with a text "path" and "name".
    static QJsonArray encodeList(const QList<DriveItem>& items);
    static std::optional<QList<DriveItem>> decodeList(const QJsonArray& array);
};

} // namespace quillon::app

Q_DECLARE_METATYPE(quillon::app::DriveItem)
