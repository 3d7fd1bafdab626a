#include "PortalGlobalShortcuts.h"

#include "DBusTimeouts.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QTimer>
#include <algorithm>
#include <atomic>

namespace quillon::platform::linux_::portal_detail {

// One entry of BindShortcuts' a(sa{sv}).
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& arg, const PortalShortcut& shortcut)
{
    arg.beginStructure();
    arg << shortcut.id << shortcut.properties;
    arg.endStructure();
    return arg;
}

const QDBusArgument& operator>>(const QDBusArgument& arg, PortalShortcut& shortcut)
{
    arg.beginStructure();
    arg >> shortcut.id >> shortcut.properties;
    arg.endStructure();
    return arg;
}

} // namespace quillon::platform::linux_::portal_detail

Q_DECLARE_METATYPE(quillon::platform::linux_::portal_detail::PortalShortcut)

namespace quillon::platform::linux_ {

namespace {

using portal_detail::PortalShortcut;

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kSession = QStringLiteral("org.freedesktop.portal.Session");

const char* const kResponseSlot = SLOT(onResponse(quint32, QVariantMap));
const char* const kActivatedSlot = SLOT(onActivated(QDBusObjectPath, QString, qulonglong, QVariantMap));

// Our unique name as the portal writes it into object paths: ":1.42" -> "1_42".
QString senderPart(const QDBusConnection& bus)
{
    QString sender = bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    return sender;
}

QString errorText(const QDBusError& error)
{
    return error.message().isEmpty() ? error.name() : error.message();
}

// The session handle of CreateSession's results: a string in the portal's
// documentation, an object path in some backends.
QString sessionHandle(const QVariantMap& results)
{
    const QVariant value = results.value(QStringLiteral("session_handle"));
    if (value.canConvert<QDBusObjectPath>() && value.metaType() == QMetaType::fromType<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

} // namespace

PortalGlobalShortcuts::PortalGlobalShortcuts(QDBusConnection sessionBus, int answerMs, QObject* parent)
    : GlobalShortcuts(parent)
    , m_bus(std::move(sessionBus))
    , m_answerMs(answerMs)
    , m_answerTimer(std::make_unique<QTimer>())
{
    static const bool registered = [] {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
        return true;
    }();
    Q_UNUSED(registered);
    m_answerTimer->setSingleShot(true);
    connect(m_answerTimer.get(), &QTimer::timeout, this, [this] {
        if (m_step == Step::creatingSession || m_step == Step::binding)
            fail(QStringLiteral("the GlobalShortcuts portal did not answer within %1 s").arg(m_answerMs / 1000.0));
    });
}

PortalGlobalShortcuts::~PortalGlobalShortcuts()
{
    stopAwaiting();
    closeSession();
}

QString PortalGlobalShortcuts::triggerFor(char key)
{
    return QStringLiteral("LOGO+ALT+%1").arg(QChar::fromLatin1(key));
}

void PortalGlobalShortcuts::registerShortcuts(const QList<Shortcut>& shortcuts)
{
    unregisterShortcuts();
    m_shortcuts = shortcuts;
    m_step = Step::probing;
    setState({false, true, {}, {}});
    if (!m_bus.isConnected()) {
        probed(false, QStringLiteral("no session bus"));
        return;
    }
    // Only a portal that exposes the interface has the property.
    QDBusMessage get = QDBusMessage::createMethodCall(
        kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << kInterface << QStringLiteral("version");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(get, DBusTimeouts::activatingCallMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation = m_generation] {
        watcher->deleteLater();
        if (generation != m_generation || m_step != Step::probing)
            return;
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isError()) {
            // No portal, or one without the interface (no such property).
            probed(false, QStringLiteral("no GlobalShortcuts portal"));
            return;
        }
        const uint version = reply.value().variant().toUInt();
        probed(version >= 1, QStringLiteral("the GlobalShortcuts portal reports version %1").arg(version));
    });
}

void PortalGlobalShortcuts::probed(bool present, const QString& problem)
{
    if (!present) {
        fail(problem);
        return;
    }
    createSession();
}

QString PortalGlobalShortcuts::nextToken()
{
    static std::atomic<quint32> last{0};
    return QStringLiteral("quillon_shortcuts%1").arg(++last);
}

QString PortalGlobalShortcuts::awaitRequest(const QString& token)
{
    stopAwaiting();
    m_requestPath = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(senderPart(m_bus), token);
    m_bus.connect(kService, m_requestPath, kRequest, QStringLiteral("Response"), this, kResponseSlot);
    m_answerTimer->start(m_answerMs);
    return m_requestPath;
}

void PortalGlobalShortcuts::stopAwaiting()
{
    m_answerTimer->stop();
    if (m_requestPath.isEmpty())
        return;
    m_bus.disconnect(kService, m_requestPath, kRequest, QStringLiteral("Response"), this, kResponseSlot);
    m_requestPath.clear();
}

void PortalGlobalShortcuts::createSession()
{
    m_step = Step::creatingSession;
    const QString token = nextToken();
    const QString sessionToken = nextToken();
    awaitRequest(token);
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("CreateSession"));
    call << QVariantMap{
        {QStringLiteral("handle_token"), token}, {QStringLiteral("session_handle_token"), sessionToken}};
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, DBusTimeouts::callMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation = m_generation] {
        watcher->deleteLater();
        if (generation != m_generation || m_step != Step::creatingSession)
            return;
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError())
            fail(QStringLiteral("the GlobalShortcuts portal refused a session (%1)").arg(errorText(reply.error())));
    });
}

void PortalGlobalShortcuts::bindShortcuts()
{
    m_step = Step::binding;
    QList<PortalShortcut> list;
    for (const Shortcut& shortcut : std::as_const(m_shortcuts)) {
        list.append({shortcut.id,
            {{QStringLiteral("description"), shortcut.description},
                {QStringLiteral("preferred_trigger"), triggerFor(shortcut.key)}}});
    }
    const QString token = nextToken();
    awaitRequest(token);
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("BindShortcuts"));
    call << QVariant::fromValue(QDBusObjectPath(m_sessionPath)) << QVariant::fromValue(list) << QString()
         << QVariantMap{{QStringLiteral("handle_token"), token}};
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, DBusTimeouts::callMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation = m_generation] {
        watcher->deleteLater();
        if (generation != m_generation || m_step != Step::binding)
            return;
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError())
            fail(QStringLiteral("the GlobalShortcuts portal refused the shortcuts (%1)").arg(errorText(reply.error())));
    });
}

void PortalGlobalShortcuts::onResponse(quint32 response, const QVariantMap& results)
{
    const Step step = m_step;
    if (step != Step::creatingSession && step != Step::binding)
        return;
    stopAwaiting();
    if (response != 0) {
        const QString what
            = step == Step::creatingSession ? QStringLiteral("a session") : QStringLiteral("the shortcuts");
        fail(response == 1
                ? QStringLiteral("binding the shortcuts was cancelled in the GlobalShortcuts portal")
                : QStringLiteral("the GlobalShortcuts portal refused %1 (response %2)").arg(what).arg(response));
        return;
    }
    if (step == Step::creatingSession) {
        m_sessionPath = sessionHandle(results);
        if (m_sessionPath.isEmpty()) {
            fail(QStringLiteral("the GlobalShortcuts portal named no session"));
            return;
        }
        bindShortcuts();
        return;
    }
    m_step = Step::bound;
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("Activated"), this, kActivatedSlot);
    // The portal may bind only some of them (the user declined one, or it
    // clashes with the desktop's own); those it left out are not held.
    QStringList missing;
    if (results.contains(QStringLiteral("shortcuts"))) {
        QList<PortalShortcut> bound;
        results.value(QStringLiteral("shortcuts")).value<QDBusArgument>() >> bound;
        for (const Shortcut& shortcut : std::as_const(m_shortcuts)) {
            if (std::none_of(bound.begin(), bound.end(), [&](const PortalShortcut& b) { return b.id == shortcut.id; }))
                missing << shortcut.id;
        }
    }
    setState({missing.isEmpty(), false, QStringLiteral("portal"),
        missing.isEmpty()
            ? QString()
            : QStringLiteral("the GlobalShortcuts portal did not bind %1").arg(missing.join(QStringLiteral(", ")))});
}

void PortalGlobalShortcuts::onActivated(
    const QDBusObjectPath& session, const QString& id, qulonglong, const QVariantMap&)
{
    if (m_step != Step::bound || session.path() != m_sessionPath)
        return;
    emit activated(id);
}

void PortalGlobalShortcuts::fail(const QString& problem)
{
    stopAwaiting();
    closeSession();
    m_step = Step::idle;
    ++m_generation;
    setState({false, false, {}, problem});
}

void PortalGlobalShortcuts::closeSession()
{
    if (m_step == Step::bound)
        m_bus.disconnect(kService, kPath, kInterface, QStringLiteral("Activated"), this, kActivatedSlot);
    if (m_sessionPath.isEmpty())
        return;
    // Fire and forget: a portal that is gone has dropped the session already.
    m_bus.send(QDBusMessage::createMethodCall(kService, m_sessionPath, kSession, QStringLiteral("Close")));
    m_sessionPath.clear();
}

void PortalGlobalShortcuts::unregisterShortcuts()
{
    ++m_generation;
    stopAwaiting();
    closeSession();
    m_step = Step::idle;
    if (m_state.held || m_state.pending || !m_state.problem.isEmpty())
        setState({});
}

void PortalGlobalShortcuts::setState(State state)
{
    m_state = std::move(state);
    emit stateChanged();
}

} // namespace quillon::platform::linux_
