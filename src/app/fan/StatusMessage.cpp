#include "StatusMessage.h"

#include <systemd/sd-bus.h>

#include <cstring>

namespace quillon::app {

namespace {

template <typename T> QVariant basic(sd_bus_message* m, char type)
{
    T value{};
    if (sd_bus_message_read_basic(m, type, &value) <= 0)
        return {};
    return QVariant::fromValue(value);
}

// The basic value at the cursor, of one of the types a status holds.
QVariant readBasic(sd_bus_message* m, char type)
{
    switch (type) {
    case SD_BUS_TYPE_BOOLEAN: {
        const QVariant value = basic<int>(m, type);
        return value.isValid() ? QVariant(value.toInt() != 0) : QVariant();
    }
    case SD_BUS_TYPE_DOUBLE:
        return basic<double>(m, type);
    case SD_BUS_TYPE_INT32:
        return basic<qint32>(m, type);
    case SD_BUS_TYPE_UINT32:
        return basic<quint32>(m, type);
    case SD_BUS_TYPE_INT64:
        return basic<qint64>(m, type);
    case SD_BUS_TYPE_UINT64:
        return basic<quint64>(m, type);
    default: {
        const char* text = nullptr;
        if (sd_bus_message_read_basic(m, SD_BUS_TYPE_STRING, &text) <= 0 || !text)
            return {};
        return QString::fromUtf8(text);
    }
    }
}

QVariantMap readMap(sd_bus_message* m, bool withFans);

// Reads the list of fans at the cursor, skipping those past the limit.
QVariantList readFans(sd_bus_message* m)
{
    QVariantList fans;
    if (sd_bus_message_enter_container(m, SD_BUS_TYPE_ARRAY, "a{sv}") <= 0)
        return fans;
    while (sd_bus_message_at_end(m, false) == 0) {
        if (fans.size() < StatusMessage::kMaxFans)
            fans.append(readMap(m, false));
        else if (sd_bus_message_skip(m, "a{sv}") < 0)
            break;
    }
    sd_bus_message_exit_container(m);
    return fans;
}

// The value inside the variant at the cursor, whose type is `contents`; the
// cursor ends behind it. Invalid for a type a status does not use.
QVariant readValue(sd_bus_message* m, const char* contents, bool withFans)
{
    if (sd_bus_message_enter_container(m, SD_BUS_TYPE_VARIANT, contents) <= 0)
        return {};
    QVariant value;
    if (contents[0] != 0 && contents[1] == 0 && std::strchr("bdiuxts", contents[0]))
        value = readBasic(m, contents[0]);
    else if (withFans && std::strcmp(contents, "aa{sv}") == 0)
        value = readFans(m);
    else
        sd_bus_message_skip(m, contents);
    sd_bus_message_exit_container(m);
    return value;
}

// Reads the a{sv} at the cursor, leaving the cursor behind it.
QVariantMap readMap(sd_bus_message* m, bool withFans)
{
    QVariantMap map;
    if (sd_bus_message_enter_container(m, SD_BUS_TYPE_ARRAY, "{sv}") <= 0)
        return map;
    while (sd_bus_message_enter_container(m, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
        const char* key = nullptr;
        char type = 0;
        const char* contents = nullptr;
        if (sd_bus_message_read_basic(m, SD_BUS_TYPE_STRING, &key) <= 0
            || sd_bus_message_peek_type(m, &type, &contents) <= 0)
            break;
        if (map.size() < StatusMessage::kMaxEntries) {
            const QVariant value = readValue(m, contents, withFans && std::strcmp(key, "fans") == 0);
            if (value.isValid())
                map.insert(QString::fromUtf8(key), value);
        } else {
            sd_bus_message_skip(m, "v");
        }
        sd_bus_message_exit_container(m);
    }
    sd_bus_message_exit_container(m);
    return map;
}

} // namespace

QVariantMap StatusMessage::read(sd_bus_message* reply)
{
    const char* signature = reply ? sd_bus_message_get_signature(reply, true) : nullptr;
    if (!signature || std::strcmp(signature, "a{sv}") != 0)
        return {};
    return readMap(reply, true);
}

} // namespace quillon::app
