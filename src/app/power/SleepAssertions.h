#pragma once

#include "platform/PowerAssertionBackend.h"

#include <QObject>
#include <QString>
#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace quillon::app {

// The app's request that the system stay awake, per kind: at most one
// power assertion of each kind per owner. Every keep-awake feature (the
// session, closed lid, automation, render mode) owns its own instance, so
// one feature letting go never releases another's assertion; two owners
// holding the same kind hold two assertions.
//
// Main thread only. Destroying the owner releases everything it holds.
class SleepAssertions : public QObject {
    Q_OBJECT
public:
    enum class Kind {
        system,  // hold off automatic system suspend
        display, // hold off screen blanking and idling
        network, // keep the network reachable (holds off automatic suspend)
    };
    Q_ENUM(Kind)

    using AssertionId = platform::PowerAssertionBackend::AssertionId;

    // Where one kind stands, as the system confirms it.
    struct KindState {
        enum class Phase {
            off,        // not asked for
            confirming, // asked for; the system has not yet shown it in force (problem: why it cannot)
            inForce,    // the system lists it
            failed,     // asked for, but nothing holds it; problem says why
            paused,     // asked for, let go until the pause ends
        };
        Phase phase = Phase::off;
        QString through; // the mechanism, once one took it: "logind", "GNOME session", …
        QString problem;
    };

    // In this order everywhere (menus, loops).
    static constexpr std::array<Kind, 3> allKinds{Kind::system, Kind::display, Kind::network};

    // "system", "display", "network".
    static QString rawValue(Kind kind);
    static std::optional<Kind> fromRawValue(const QString& raw);
    // The reason the system shows, the same for every owner.
    static QString assertionName(Kind kind);
    // "Keep system awake" etc., in the language of the installed translator.
    static QString label(Kind kind);
    // One line under a switch (a kind's or the lid's): through what it is
    // in force, or why it is not; empty while off.
    static QString note(const KindState& state);

    explicit SleepAssertions(std::shared_ptr<platform::PowerAssertionBackend> backend, QObject* parent = nullptr);
    ~SleepAssertions() override;

    // Makes sure an assertion of this kind is held. True when it already was
    // (nothing is created or renewed) or was created now (it may still be
    // confirming); false when the system refused, and then nothing is held
    // and state() says why.
    bool start(Kind kind);
    // Releases the assertion of this kind, if held, and forgets a refusal.
    void stop(Kind kind);
    // Releases every held assertion, each exactly once.
    void stopAll();

    // A pause lets go of every held kind and remembers it; start() and
    // stop() then only change what is remembered, and the end of the pause
    // takes each remembered kind afresh. A kind that had failed is retried.
    void setPaused(bool paused);
    bool paused() const { return m_paused; }

    // Held, or remembered during a pause.
    bool isHeld(Kind kind) const { return m_ids.contains(kind) || m_pausedKinds.contains(kind); }
    // The held assertions by kind.
    const std::map<Kind, AssertionId>& ids() const { return m_ids; }
    KindState state(Kind kind) const;
    // True when the kind is asked for and not failed (confirming or in force).
    bool holding(Kind kind) const;
    // Why the first kind that nothing holds is not held; empty when none failed.
    QString firstProblem() const;

signals:
    // Some kind's state() changed: started, confirmed, failed, stopped.
    void stateChanged();

private:
    void onBackendStateChanged(AssertionId id);

    std::shared_ptr<platform::PowerAssertionBackend> m_backend;
    std::map<Kind, AssertionId> m_ids;
    std::map<Kind, QString> m_problems; // kinds asked for that nothing holds
    bool m_paused = false;
    std::set<Kind> m_pausedKinds; // asked for during a pause
};

} // namespace quillon::app
