#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <functional>
#include <optional>

namespace quillon::platform {

// What an assertion holds off.
enum class PowerAssertionType {
    preventIdleSystemSleep,  // automatic (idle) suspend of the system
    preventIdleDisplaySleep, // screen blanking and the idle state that leads to it
    networkClientActive,     // the network staying reachable, i.e. no automatic suspend
    preventLidSleep,         // suspend when the lid closes, where the login manager acts on the lid
};

// Where one assertion stands. A desktop may accept an inhibition and only
// later show (or never show) that it is in force, so an assertion starts as
// confirming and becomes inForce once the system lists it, or failed.
struct PowerAssertionState {
    enum class Phase {
        confirming,
        inForce,
        failed
    };
    Phase phase = Phase::inForce;
    QString through; // the mechanism holding it: "logind", "portal (KDE)", "PowerManagement (Xfce)"
    QString problem; // failed: why, in words a user can act on; confirming: why it cannot be confirmed, if so
};

// The operating system's power manager, as far as keep-awake needs it: one
// call creates one assertion, one call releases it. Each create() is a
// separate assertion even for the same type and name, so two owners never
// share one; the system drops them all when the process ends.
//
// Main thread only. create() answers at once and never waits on the system:
// an assertion may start out confirming, and its confirmation or failure
// comes later through stateChanged().
class PowerAssertionBackend : public QObject {
    Q_OBJECT
public:
    using AssertionId = quint32;

    using QObject::QObject;
    ~PowerAssertionBackend() override = default;

    // A new assertion of this type; name is what the system shows as the
    // reason. nullopt when the system refused or nothing can hold this type;
    // lastProblem() then says why.
    virtual std::optional<AssertionId> create(PowerAssertionType type, const QString& name) = 0;
    // Ends exactly the assertion create() returned. Unknown ids are ignored;
    // a failure of the system is not reported.
    virtual void release(AssertionId id) = 0;

    // Why the last create() returned nullopt; empty when there is no reason to give.
    virtual QString lastProblem() const { return {}; }
    // Where an assertion create() returned stands. A backend that cannot
    // check reports every assertion as in force. A failed assertion holds
    // nothing, but keeps its id until released.
    virtual PowerAssertionState state(AssertionId) const { return {}; }
    // What others hold against sleep right now, one line each ("who: why
    // (what)"), ours left out; or, when the system could not be asked (it
    // did not answer in time), why not.
    struct OtherInhibitors {
        QStringList lines;
        QString problem;
    };
    using OtherInhibitorsAnswer = std::function<void(const OtherInhibitors&)>;
    // Asks the system without waiting; done hears the answer once, later
    // (after one bounded round trip at most) or, where there is nothing to
    // ask, at once. Never after this backend is gone.
    virtual void askOtherInhibitors(OtherInhibitorsAnswer done) { done({}); }

signals:
    // An assertion's state() changed (confirmed, or failed for good).
    void stateChanged(quillon::platform::PowerAssertionBackend::AssertionId id);
};

} // namespace quillon::platform
