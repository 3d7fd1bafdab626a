#include "FanHelperBusObject.h"

#include "LogLine.h"
#include "StatusPayload.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>

namespace quillon::daemon {

namespace {
const QString kNoService = QStringLiteral("no service");
} // namespace

FanHelperBusObject::FanHelperBusObject(
    FanHelperService& service, CallerAuthorization& authorization, MonotonicClock& clock, DaemonLog& log)
    : m_service(&service)
    , m_authorization(authorization)
    , m_clock(clock)
    , m_log(log)
{
}

bool FanHelperBusObject::Ping(QString& text)
{
    if (!admit(identifyCaller()))
        return false;
    if (!m_service) {
        text = kNoService;
        return false;
    }
    const FanHelperService::Reply reply = m_service->ping();
    text = QString::fromStdString(reply.text);
    return reply.ok;
}

QVariantMap FanHelperBusObject::GetStatus()
{
    if (!admit(identifyCaller()))
        return {};
    if (!m_service)
        return {};
    return StatusPayload::toVariantMap(m_service->status());
}

bool FanHelperBusObject::SetFanFloor(double percent, QString& text)
{
    return authorizedCall(
        CallerAuthorization::Action::controlFans, "SetFanFloor",
        [percent](FanHelperService& service) { return service.setFanFloor(percent); }, text);
}

bool FanHelperBusObject::StopBoost(QString& text)
{
    return authorizedCall(
        CallerAuthorization::Action::controlFans, "StopBoost",
        [](FanHelperService& service) { return service.stopBoost(); }, text);
}

bool FanHelperBusObject::SetLidStayAwake(bool on, QString& text)
{
    return authorizedCall(
        CallerAuthorization::Action::lidStayAwake, "SetLidStayAwake",
        [on](FanHelperService& service) { return service.setLidStayAwake(on); }, text);
}

std::optional<CallerAuthorization::Caller> FanHelperBusObject::identifyCaller()
{
    ++m_handledCalls;
    if (!calledFromDBus())
        return std::nullopt;
    std::optional<CallerAuthorization::Caller> caller = m_identity.of(connection(), message());
    if (caller && m_service && m_authorization.countsAsContact(caller->uid))
        m_service->noteContact();
    return caller;
}

bool FanHelperBusObject::admit(const std::optional<CallerAuthorization::Caller>& caller)
{
    if (!caller || m_authorization.countsAsContact(caller->uid) || m_budget.spend(caller->busName, m_clock.now()))
        return true;
    if (message().isReplyRequired())
        sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("too many requests; try again later"));
    else
        setDelayedReply(true); // nothing is owed
    return false;
}

bool FanHelperBusObject::authorizedCall(
    CallerAuthorization::Action action, const char* method, const Request& request, QString& text)
{
    const std::optional<CallerAuthorization::Caller> caller = identifyCaller();
    if (!admit(caller))
        return false;
    if (!caller) {
        text = QStringLiteral("refused: the caller cannot be identified");
        return false;
    }
    const QDBusMessage call = message();
    QDBusConnection bus = connection();
    const std::optional<CallerAuthorization::Verdict> verdict = m_authorization.authorize(*caller, action,
        [this, call, bus, caller = *caller, method, request](const CallerAuthorization::Verdict& late) {
            const Outcome outcome = perform(late, caller, method, request);
            bus.send(call.createReply({outcome.ok, outcome.text}));
        });
    if (!verdict) {
        setDelayedReply(true);
        return false;
    }
    const Outcome outcome = perform(*verdict, *caller, method, request);
    text = outcome.text;
    return outcome.ok;
}

FanHelperBusObject::Outcome FanHelperBusObject::perform(const CallerAuthorization::Verdict& verdict,
    const CallerAuthorization::Caller& caller, const char* method, const Request& request)
{
    if (!verdict.granted) {
        logRefusal(method, caller, verdict.refusal);
        return {false, QString::fromStdString(verdict.refusal)};
    }
    if (!m_service)
        return {false, kNoService};
    // A caller just granted by polkit is the app making contact, even if
    // its uid did not count before.
    m_service->noteContact();
    const FanHelperService::Reply reply = request(*m_service);
    return {reply.ok, QString::fromStdString(reply.text)};
}

void FanHelperBusObject::logRefusal(
    const char* method, const CallerAuthorization::Caller& caller, const std::string& reason)
{
    const auto now = m_clock.now();
    if (m_lastRefusalLogAt && now - *m_lastRefusalLogAt < kRefusalLogInterval) {
        ++m_unloggedRefusals;
        return;
    }
    LogLine line;
    line.appendf(
        "Quillon daemon: refused %s from uid %u (%s): %s", method, caller.uid, caller.busName.c_str(), reason.c_str());
    if (m_unloggedRefusals > 0)
        line.appendf(" (%d more refusals since the last report)", m_unloggedRefusals);
    m_log.write(DaemonLog::Severity::warning, line.text());
    m_lastRefusalLogAt = now;
    m_unloggedRefusals = 0;
}

} // namespace quillon::daemon
