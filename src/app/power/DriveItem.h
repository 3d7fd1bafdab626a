#pragma once

#include <QJsonArray>
#include <QList>
#include <QMetaType>
#include <QString>

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

    // The stored form of a list. decodeList keeps the elements it can read
    // and skips any that is not an object with a text "path" and "name";
    // complete, when given, says whether none was skipped.
    static QJsonArray encodeList(const QList<DriveItem>& items);
    static QList<DriveItem> decodeList(const QJsonArray& array, bool* complete = nullptr);
};

} // namespace quillon::app

Q_DECLARE_METATYPE(quillon::app::DriveItem)
