#include "DBusHelperLink.h"

#include "StatusMessage.h"

#include "daemon/HelperNames.h"

#include <QPointer>
#include <systemd/sd-bus.h>

#include <cstdlib>
#include <cstring>

namespace quillon::app {

namespace {
using daemon::HelperNames::kObjectPath;
using daemon::HelperNames::kService;

constexpr const char* kBusService = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
// The bus answers its own questions at once; this only bounds a hung one.
constexpr quint64 kAskBusTimeoutUs = 1000000;

bool isTimeout(sd_bus_message* reply)
{
    for (const char* name : {SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT, "org.freedesktop.DBus.Error.TimedOut"}) {
        if (sd_bus_message_is_method_error(reply, name) > 0)
            return true;
    }
    return false;
}

QString errorText(sd_bus_message* reply)
{
    const sd_bus_error* error = sd_bus_message_get_error(reply);
    return QString::fromUtf8(error && error->message ? error->message : error && error->name ? error->name : "");
}

} // namespace

// One call on its way: whose answer it is, for which connection.
struct DBusHelperLink::Call {
    DBusHelperLink* link;
    quint64 generation;
    QPointer<QObject> context;
    const char* answers;
    Answer answer;
    bool status = false;
};

struct SdBusCallbacks {
    static int ownerChanged(sd_bus_message* message, void* link, sd_bus_error*)
    {
        const char* name = nullptr;
        const char* oldOwner = nullptr;
        const char* newOwner = nullptr;
        if (sd_bus_message_read(message, "sss", &name, &oldOwner, &newOwner) > 0 && std::strcmp(name, kService) == 0)
            static_cast<DBusHelperLink*>(link)->ownerChanged(QString::fromUtf8(oldOwner), QString::fromUtf8(newOwner));
        return 0;
    }
    static int answered(sd_bus_message* reply, void* call, sd_bus_error*)
    {
        DBusHelperLink::answered(*static_cast<DBusHelperLink::Call*>(call), reply);
        return 0;
    }
    static void forget(void* call) { delete static_cast<DBusHelperLink::Call*>(call); }
};

DBusHelperLink::DBusHelperLink(std::optional<daemon::HelperBus::Setting> bus, int callTimeoutMs, QObject* parent)
    : HelperLink(parent)
    , m_setting(std::move(bus))
    , m_callTimeoutMs(callTimeoutMs)
{
}

DBusHelperLink::~DBusHelperLink() = default;

SdBusConnection* DBusHelperLink::bus()
{
    if (m_bus && m_bus->isConnected())
        return m_bus.get();
    m_bus.reset();
    if (!m_setting)
        return nullptr;
    QString error;
    m_bus = SdBusConnection::open(*m_setting, error);
    if (!m_bus)
        return nullptr;
    connect(m_bus.get(), &SdBusConnection::disconnected, this, &DBusHelperLink::busLost);
    watchName();
    return m_bus.get();
}

void DBusHelperLink::busLost()
{
    if (!m_open)
        return;
    invalidate();
    emit connectionLost();
}

bool DBusHelperLink::helperAvailable()
{
    SdBusConnection* connection = bus();
    if (!connection)
        return false;
    sd_bus* b = connection->bus();
    const auto ask = [b](const char* method, const char* signature, auto... args) {
        sd_bus_message* question = nullptr;
        sd_bus_message* answer = nullptr;
        if (sd_bus_message_new_method_call(b, &question, kBusService, kBusPath, kBusService, method) >= 0
            && (!signature || sd_bus_message_append(question, signature, args...) >= 0))
            sd_bus_call(b, question, kAskBusTimeoutUs, nullptr, &answer);
        sd_bus_message_unref(question);
        return answer;
    };
    bool available = false;
    if (sd_bus_message* answer = ask("NameHasOwner", "s", kService)) {
        int owned = 0;
        available = sd_bus_message_read(answer, "b", &owned) > 0 && owned;
        sd_bus_message_unref(answer);
    }
    if (sd_bus_message* answer = !available ? ask("ListActivatableNames", nullptr) : nullptr) {
        char** names = nullptr;
        if (sd_bus_message_read_strv(answer, &names) >= 0 && names) {
            for (char** name = names; *name; ++name) {
                available = available || std::strcmp(*name, kService) == 0;
                free(*name);
            }
            free(names);
        }
        sd_bus_message_unref(answer);
    }
    connection->readAhead();
    return available;
}

void DBusHelperLink::watchName()
{
    const QByteArray rule = QByteArrayLiteral("type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
                                              "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='")
        + kService + "'";
    // A floating match: it lives as long as the bus connection, which this link owns.
    sd_bus_add_match_async(m_bus->bus(), nullptr, rule.constData(), &SdBusCallbacks::ownerChanged, nullptr, this);
    m_bus->queued();
}

void DBusHelperLink::ownerChanged(const QString& oldOwner, const QString& newOwner)
{
    if (newOwner.isEmpty()) {
        if (!m_open)
            return;
        invalidate();
        emit connectionLost();
    } else if (m_open) {
        if (!oldOwner.isEmpty())
            emit connectionInterrupted();
    } else if (m_everOpened) {
        connectIfNeeded();
        emit connectionRestored();
    }
}

void DBusHelperLink::connectIfNeeded()
{
    if (m_open || !bus())
        return;
    ++m_generation;
    m_open = true;
    m_everOpened = true;
    requestStatus(this, [this](const QVariantMap& status) { emit statusArrived(status); });
}

void DBusHelperLink::invalidate()
{
    m_open = false;
    m_statusPending = false;
}

void DBusHelperLink::failed(quint64 generation, const QString& text)
{
    if (generation != m_generation || !m_open)
        return;
    invalidate();
    emit requestFailed(text);
}

template <typename... Args>
DBusHelperLink::Call* DBusHelperLink::call(
    QObject* context, const char* answers, Answer answer, const char* method, const char* signature, Args... args)
{
    if (!m_open || !m_bus || !m_bus->isConnected())
        return nullptr;
    sd_bus* b = m_bus->bus();
    sd_bus_message* message = nullptr;
    sd_bus_slot* slot = nullptr;
    int result = sd_bus_message_new_method_call(b, &message, kService, kObjectPath, kService, method);
    if (result >= 0 && signature)
        result = sd_bus_message_append(message, signature, args...);
    if (result >= 0)
        result = sd_bus_call_async(b, &slot, message, &SdBusCallbacks::answered, nullptr,
            static_cast<quint64>(m_callTimeoutMs) * 1000u);
    sd_bus_message_unref(message);
    if (result < 0) {
        failed(m_generation, QString::fromLocal8Bit(std::strerror(-result)));
        return nullptr;
    }
    auto* pending = new Call{this, m_generation, context, answers, std::move(answer)};
    sd_bus_slot_set_userdata(slot, pending);
    sd_bus_slot_set_destroy_callback(slot, &SdBusCallbacks::forget);
    sd_bus_slot_set_floating(slot, 1); // freed with its answer, or with the connection
    sd_bus_slot_unref(slot);
    m_bus->queued();
    return pending;
}

void DBusHelperLink::answered(Call& call, sd_bus_message* reply)
{
    DBusHelperLink& link = *call.link;
    if (call.status && call.generation == link.m_generation)
        link.m_statusPending = false;
    const bool error = sd_bus_message_is_method_error(reply, nullptr) > 0;
    bool deliver = true;
    if (error && isTimeout(reply)) {
        // A slow helper's answer is unknown: the caller learns it failed for
        // now, and the next status shows what is in force.
        if (call.generation == link.m_generation && link.m_open)
            emit link.requestSlow();
    } else if (error) {
        link.failed(call.generation, errorText(reply));
        deliver = false;
    } else if (sd_bus_message_has_signature(reply, call.answers) <= 0) {
        link.failed(call.generation,
            QStringLiteral("Unexpected reply signature: got \"%1\", expected \"%2\"")
                .arg(QString::fromUtf8(sd_bus_message_get_signature(reply, true)), QString::fromUtf8(call.answers)));
        deliver = false;
    }
    if (deliver && call.context)
        call.answer(reply);
}

void DBusHelperLink::getStatus(QObject* context, StatusReply reply)
{
    requestStatus(context, std::move(reply));
}

void DBusHelperLink::requestStatus(QObject* context, StatusReply reply)
{
    if (!m_open || m_statusPending)
        return;
    Call* sent = call(
        context, "a{sv}",
        [reply = std::move(reply)](sd_bus_message* answer) {
            if (sd_bus_message_is_method_error(answer, nullptr) <= 0)
                reply(StatusMessage::read(answer));
        },
        "GetStatus", nullptr);
    if (sent)
        sent->status = m_statusPending = true;
}

template <typename... Args>
void DBusHelperLink::boolTextCall(
    QObject* context, Reply reply, const char* method, const char* signature, Args... args)
{
    call(
        context, "bs",
        [reply = std::move(reply)](sd_bus_message* answer) {
            if (sd_bus_message_is_method_error(answer, nullptr) > 0) {
                reply(false, errorText(answer));
                return;
            }
            int ok = 0;
            const char* text = nullptr;
            sd_bus_message_read(answer, "bs", &ok, &text);
            reply(ok != 0, QString::fromUtf8(text ? text : ""));
        },
        method, signature, args...);
}

void DBusHelperLink::setFanFloor(double percent, QObject* context, Reply reply)
{
    boolTextCall(context, std::move(reply), "SetFanFloor", "d", percent);
}

void DBusHelperLink::stopBoost(QObject* context, Reply reply)
{
    boolTextCall(context, std::move(reply), "StopBoost", nullptr);
}

void DBusHelperLink::setLidStayAwake(bool on, QObject* context, Reply reply)
{
    boolTextCall(context, std::move(reply), "SetLidStayAwake", "b", static_cast<int>(on));
}

} // namespace quillon::app
