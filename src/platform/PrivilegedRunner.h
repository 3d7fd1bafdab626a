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
    // Runs the script text with /bin/sh as root. The text travels in the
    // privileged command's own arguments, never through a file, so nothing
    // another process can write stands between what the app meant and what
    // root runs. done is called once, on the caller's thread, after the
    // script has ended.
    virtual void run(const QString& script, Done done) = 0;
};

} // namespace quillon::platform
