#pragma once

#include <QString>
#include <functional>

namespace quillon::platform {

// Runs one shell script as root after one authentication of the user, so
// that a task of many steps asks for the password once.
class PrivilegedRunner {
public:
    struct Result {
        enum class Kind {
            success,   // the script ran and exited 0
            dismissed, // the user closed the authentication dialog
            failed,    // the script failed, or root rights were refused or unobtainable
        };
        Kind kind = Kind::failed;
        // For `failed`: what went wrong, in the words of whoever failed.
        QString message;
    };
    using Done = std::function<void(const Result&)>;

    virtual ~PrivilegedRunner() = default;
    // Runs the script file with /bin/sh as root. done is called once, on the
    // caller's thread, after the script has ended; the file must stay until then.
    virtual void run(const QString& scriptPath, Done done) = 0;
};

} // namespace quillon::platform
