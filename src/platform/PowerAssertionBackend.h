#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

namespace quillon::platform {

// What an assertion holds off.
enum class PowerAssertionType {
    preventIdleSystemSleep,  // automatic (idle) suspend of the system
    preventIdleDisplaySleep, // screen blanking and the idle state that leads to it
    networkClientActive,     // the network staying reachable, i.e. no automatic suspend
};

// The operating system's power manager, as far as keep-awake needs it: one
// call creates one assertion, one call releases it. Each create() is a
// separate assertion even for the same type and name, so two owners never
// share one; the system drops them all when the process ends.
//
// Main thread only. create() answers at once (it may block for a short,
// bounded D-Bus round trip).
class PowerAssertionBackend {
public:
    using AssertionId = quint32;

    virtual ~PowerAssertionBackend() = default;

    // A new assertion of this type; name is what the system shows as the
    // reason. nullopt when the system refused or nothing can hold this type.
    virtual std::optional<AssertionId> create(PowerAssertionType type, const QString& name) = 0;
    // Ends exactly the assertion create() returned. Unknown ids are ignored;
    // a failure of the system is not reported.
    virtual void release(AssertionId id) = 0;
};

} // namespace quillon::platform
