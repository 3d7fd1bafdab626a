#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quillon::daemon {

// Asks polkit whether a D-Bus caller may perform an action.
class PolkitAuthority {
public:
    struct Answer {
        bool authorized = false;
        std::string error; // set when polkit could not be asked or failed
    };
    using Callback = std::function<void(const Answer&)>;

    virtual ~PolkitAuthority() = default;

    // busName: the caller's unique bus name (":1.42"), which polkit resolves
    // itself, free of pid races. done is called exactly once, later, on the
    // calling thread.
    virtual void check(const std::string& busName, std::string_view actionId, Callback done) = 0;
};

} // namespace quillon::daemon
