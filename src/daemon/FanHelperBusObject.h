#pragma once

#include "BusCallerIdentity.h"
#include "CallerAuthorization.h"
#include "CallerBudget.h"
#include "DaemonLog.h"
#include "FanHelperService.h"
#include "MonotonicClock.h"

#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <utility>

namespace quillon::daemon {

// The helper's object on the bus (/org/quillon/Quillon/smchelper); the
// adaptor generated from data/dbus/org.quillon.Quillon.smchelper.xml calls
// the five methods below, which hand each call to the service after deciding
// who the caller is, whether the call counts as contact from the app and
// whether the caller may change anything (see CallerAuthorization).
// Refused calls change nothing and answer false with the reason; refusals
// are logged, at most one line per kRefusalLogInterval. Callers whose
// requests do not count as the app's are held to a CallerBudget; calls over
// it are turned away at once with a LimitsExceeded error (or silently when
// they asked for no reply), before any work is done for them.
class FanHelperBusObject : public QObject, protected QDBusContext {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds kRefusalLogInterval{10};

    FanHelperBusObject(
        FanHelperService& service, CallerAuthorization& authorization, MonotonicClock& clock, DaemonLog& log);

    // The service is going away (termination): from now on state-changing
    // calls answer false, "no service", and the status is empty.
    void detachService() { m_service = nullptr; }

    bool Ping(QString& text);
    QVariantMap GetStatus();
    bool SetFanFloor(double percent, QString& text);
    bool StopBoost(QString& text);
    bool SetLidStayAwake(bool on, QString& text);

    // Calls handled since the last time this was asked (the daemon gives
    // memory back to the system after a burst).
    long takeHandledCalls() { return std::exchange(m_handledCalls, 0); }

private:
    using Request = std::function<FanHelperService::Reply(FanHelperService&)>;
    struct Outcome {
        bool ok;
        QString text;
    };

    // The caller of the call being handled; notes contact when it counts.
    std::optional<CallerAuthorization::Caller> identifyCaller();
    // Whether the call may go on: always for the app, within its budget for
    // anyone else. A call that may not has been answered already.
    bool admit(const std::optional<CallerAuthorization::Caller>& caller);
    // Runs request once the caller is authorized for action: at once, or
    // with a delayed reply when polkit has to be asked.
    bool authorizedCall(CallerAuthorization::Action action, const char* method, const Request& request, QString& text);
    Outcome perform(const CallerAuthorization::Verdict& verdict, const CallerAuthorization::Caller& caller,
        const char* method, const Request& request);
    void logRefusal(const char* method, const CallerAuthorization::Caller& caller, const std::string& reason);

    FanHelperService* m_service;
    CallerAuthorization& m_authorization;
    MonotonicClock& m_clock;
    DaemonLog& m_log;
    BusCallerIdentity m_identity;
    CallerBudget m_budget;
    long m_handledCalls = 0;
    std::optional<std::chrono::nanoseconds> m_lastRefusalLogAt;
    int m_unloggedRefusals = 0;
};

} // namespace quillon::daemon
